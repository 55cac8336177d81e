#pragma once

#include "textlayout/advancetable.h"

#include <QFont>
#include <QTextOption>

#include <functional>
#include <memory>

class QPaintDevice;
class QTextDocument;

namespace tarn::console {

/// How the text of a document is set, and how much room characters take in it.
class TextSetting
{
public:
    /// Takes over the document's font and text option. Returns whether they are others than before.
    /// What was measured before is gone then; `release` is called first.
    template<typename Release>
    bool take(const QTextDocument *document, QPaintDevice *device, Release release)
    {
        if (isOf(document))
            return false;
        release();
        measure(document, device);
        return true;
    }

    /// For all tables from now on: see AdvanceTable.
    void setImpatience(const std::function<bool()> &isInAHurry) { m_isInAHurry = isInAHurry; }

    const QFont &font() const { return m_font; }
    /// Null before the first take().
    const AdvanceTable *heights() const { return m_heights.get(); }
    /// Whether lines are as high as their ink.
    bool followsInk() const { return m_heights && m_heights->followsInk(); }

    struct LineHeights
    {
        int plain = 0; ///< of a line of plain text
        int last = 0;  ///< of the empty block after the last line end
    };
    /// In the document's font, taken over or not.
    LineHeights lineHeights(const QTextDocument *document, QPaintDevice *device) const;

    void setRoomForCaret(bool room) { m_hasRoomForCaret = room; }
    /// The least margin above the first line.
    int roomForCaret() const;

private:
    bool isOf(const QTextDocument *document) const;
    void measure(const QTextDocument *document, QPaintDevice *device);

    QFont m_font;
    QTextOption m_option;
    std::unique_ptr<AdvanceTable> m_heights;
    std::function<bool()> m_isInAHurry;
    bool m_hasRoomForCaret = false;
};

} // namespace tarn::console
