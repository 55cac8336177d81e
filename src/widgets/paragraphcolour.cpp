#include "widgets/paragraphcolour.h"

#include <algorithm>
#include <cmath>

namespace tarn::console {

namespace {

/// The guidelines ask for 4.5 (1.4.3), and for 7 where it matters more (1.4.6): a palette of high
/// contrast was chosen for a reason. Much more, and the hue is hard to see.
constexpr qreal wantedContrast = 7.0;

/// Red and blue are told apart by everybody; amber is the third.
struct Hue
{
    float hue;
    float saturation;
};
constexpr Hue errorHue{0.0F, 0.75F};
constexpr Hue echoHue{0.59F, 0.80F};
constexpr Hue noticeHue{0.10F, 0.85F};

qreal luminance(const QColor &colour)
{
    const auto linear = [](qreal channel) {
        return channel <= 0.03928 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF())
           + 0.0722 * linear(colour.blueF());
}

qreal contrastOf(qreal luminance, qreal otherLuminance)
{
    const auto [darker, lighter] = std::minmax(luminance, otherLuminance);
    return (lighter + 0.05) / (darker + 0.05);
}

/// The hue with enough contrast to a background, and no more than that: beyond, it turns to white
/// or black. One of these has 4.5 on every background.
QColor readable(const Hue &hue, const QColor &background)
{
    const qreal behind = luminance(background);
    const bool lighter = contrastOf(1, behind) > contrastOf(0, behind);
    // As a screen has it, in eight bits.
    const auto coloured = [&hue](float lightness) {
        return QColor(QColor::fromHslF(hue.hue, hue.saturation, lightness).rgb());
    };
    float tooLittle = lighter ? 0.0F : 1.0F;
    float enough = lighter ? 1.0F : 0.0F;
    constexpr int stepsToTheLastBit = 8;
    for (int step = 0; step < stepsToTheLastBit; ++step) {
        const float middle = (tooLittle + enough) / 2;
        const qreal ink = luminance(coloured(middle));
        if ((ink > behind) == lighter && contrastOf(ink, behind) >= wantedContrast)
            enough = middle;
        else
            tooLittle = middle;
    }
    return coloured(enough);
}

struct ColoursOnBackground
{
    QColor background;
    QColor error = readable(errorHue, background);
    QColor echo = readable(echoHue, background);
    QColor notice = readable(noticeHue, background);
};

/// Every painting asks for every paragraph in sight, and they share a background.
const ColoursOnBackground &coloursOn(const QColor &background)
{
    thread_local ColoursOnBackground last{.background = background};
    if (last.background != background)
        last = {.background = background};
    return last;
}

} // namespace

ParagraphVoice voiceOf(const TranscriptParagraph &paragraph)
{
    switch (paragraph.kind) {
    case TranscriptRecordKind::StreamOutput:
        return paragraph.stream == TranscriptStream::StandardError ? ParagraphVoice::Error
                                                                   : ParagraphVoice::Output;
    case TranscriptRecordKind::InputEcho:
        return ParagraphVoice::Echo;
    case TranscriptRecordKind::ApplicationLabel:
    case TranscriptRecordKind::Outcome:
    case TranscriptRecordKind::LimitNotice:
        break;
    }
    return ParagraphVoice::Notice;
}

qreal contrastRatio(const QColor &one, const QColor &other)
{
    return contrastOf(luminance(one), luminance(other));
}

QColor paragraphColour(const TranscriptParagraph &paragraph, const QPalette &palette)
{
    const QColor &background = palette.color(QPalette::Base);
    switch (voiceOf(paragraph)) {
    case ParagraphVoice::Output:
        break;
    case ParagraphVoice::Error:
        return coloursOn(background).error;
    case ParagraphVoice::Echo:
        return coloursOn(background).echo;
    case ParagraphVoice::Notice:
        return coloursOn(background).notice;
    }
    return palette.color(QPalette::Text);
}

} // namespace tarn::console
