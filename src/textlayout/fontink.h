#pragma once

#include <QtGlobal>

#include <optional>

class QFont;
class QPaintDevice;
class QString;
class QTextLine;

namespace tarn::console {

/// Room above and below a baseline, in whole pixels.
struct InkReach
{
    int above = 0;
    int below = 0;

    bool operator==(const InkReach &) const = default;
    int height() const { return above + below; }
    /// Room for both.
    InkReach united(const InkReach &other) const;
};

/// How far the glyphs of a shaped line reach. Fonts declare their own idea of a line's height,
/// which has nothing to do with what is drawn: "Noto Sans Arabic" takes twice its size.
InkReach inkOf(const QTextLine &line);

/// The same for a text on one line. The paint device decides the resolution; null for the screen's.
InkReach inkOf(const QString &text, const QFont &font, QPaintDevice *device = nullptr);

/// What texts in a font can be expected to need: capitals with two accents, Arabic with stacked
/// vowel signs, brackets, box drawing.
InkReach usualInk(const QFont &font);

/// What every line of text takes, whatever is in it: room for letters without signs, in Latin and
/// Arabic. Nothing in a font that is not generous: there, a line is as high as the font says.
std::optional<InkReach> plainInk(const QFont &font, QPaintDevice *device);

/// Room for a caret and nothing else.
InkReach caretInk(const QFont &font, QPaintDevice *device);

/// What a line of text has above and below that neither its own ink nor usualInk() needs; nothing
/// in a font that is not generous.
InkReach spareRoom(const QString &text, const QFont &font);

} // namespace tarn::console
