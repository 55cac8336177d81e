#include "widgets/paragraphcolour.h"

#include <algorithm>
#include <cmath>

namespace tarn::console {

namespace {

/// The guidelines ask for 4.5 (1.4.3). A little more survives the rounding of colours and the thin
/// strokes of small letters, and is not yet so much that the hue is hard to see.
constexpr qreal wantedContrast = 6.0;

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

/// The hue with enough contrast to a background, and no more than that: beyond, it turns to white
/// or black. One of these has 4.5 on every background.
QColor readable(const Hue &hue, const QColor &background)
{
    const bool lighter =
        contrastRatio(Qt::white, background) > contrastRatio(Qt::black, background);
    // As a screen has it, in eight bits.
    const auto coloured = [&hue](float lightness) {
        return QColor(QColor::fromHslF(hue.hue, hue.saturation, lightness).rgb());
    };
    float tooLittle = lighter ? 0.0F : 1.0F;
    float enough = lighter ? 1.0F : 0.0F;
    constexpr int stepsToTheLastBit = 8;
    for (int step = 0; step < stepsToTheLastBit; ++step) {
        const float middle = (tooLittle + enough) / 2;
        const QColor colour = coloured(middle);
        const bool onItsSide = (luminance(colour) > luminance(background)) == lighter;
        if (onItsSide && contrastRatio(colour, background) >= wantedContrast)
            enough = middle;
        else
            tooLittle = middle;
    }
    return coloured(enough);
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
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

QColor paragraphColour(const TranscriptParagraph &paragraph, const QPalette &palette)
{
    const QColor &background = palette.color(QPalette::Base);
    switch (voiceOf(paragraph)) {
    case ParagraphVoice::Output:
        break;
    case ParagraphVoice::Error:
        return readable(errorHue, background);
    case ParagraphVoice::Echo:
        return readable(echoHue, background);
    case ParagraphVoice::Notice:
        return readable(noticeHue, background);
    }
    return palette.color(QPalette::Text);
}

} // namespace tarn::console
