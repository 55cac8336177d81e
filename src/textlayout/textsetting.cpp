#include "textlayout/textsetting.h"

#include "textlayout/linebreaking.h"

#include <QTextDocument>

namespace tarn::console {

bool TextSetting::isOf(const QTextDocument *document) const
{
    return m_heights && document->defaultFont() == m_font
           && breakAlike(document->defaultTextOption(), m_option);
}

void TextSetting::measure(const QTextDocument *document, QPaintDevice *device)
{
    m_font = document->defaultFont();
    m_option = document->defaultTextOption();
    m_heights = std::make_unique<AdvanceTable>(m_font, device, m_option);
    m_heights->setImpatience(m_isInAHurry);
}

TextSetting::LineHeights TextSetting::lineHeights(const QTextDocument *document,
                                                  QPaintDevice *device) const
{
    if (!m_heights || document->defaultFont() != m_font) {
        TextSetting own;
        own.measure(document, device);
        return own.lineHeights(document, device);
    }
    const int plain = m_heights->lineOf({}).height;
    return {.plain = plain,
            .last = m_heights->followsInk() ? m_heights->caretReach().height() : plain};
}

int TextSetting::roomForCaret() const
{
    return m_heights && m_hasRoomForCaret ? m_heights->caretExcess() : 0;
}

} // namespace tarn::console
