#include "widgets/paragraphcolour.h"

#include "support/testregistry.h"

#include <QTest>

#include <array>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

// What the Web Content Accessibility Guidelines 2.1 ask of texts (1.4.3).
constexpr qreal enoughForText = 4.5;

TranscriptParagraph paragraphOf(ParagraphVoice voice)
{
    switch (voice) {
    case ParagraphVoice::Output:
        return {.stream = TranscriptStream::StandardOutput};
    case ParagraphVoice::Error:
        return {.stream = TranscriptStream::StandardError};
    case ParagraphVoice::Echo:
        return {.kind = TranscriptRecordKind::InputEcho};
    case ParagraphVoice::Notice:
        break;
    }
    return {.kind = TranscriptRecordKind::LimitNotice};
}

constexpr std::array voices{ParagraphVoice::Output, ParagraphVoice::Error, ParagraphVoice::Echo,
                            ParagraphVoice::Notice};
constexpr std::array colouredVoices{ParagraphVoice::Error, ParagraphVoice::Echo,
                                    ParagraphVoice::Notice};

QPalette paletteOf(const QColor &text, const QColor &base)
{
    QPalette palette;
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Base, base);
    return palette;
}

int distance(const QColor &one, const QColor &other)
{
    return std::abs(one.red() - other.red()) + std::abs(one.green() - other.green())
           + std::abs(one.blue() - other.blue());
}

void addPalettes()
{
    QTest::addColumn<QPalette>("palette");
    QTest::newRow("light") << paletteOf(Qt::black, Qt::white);
    QTest::newRow("dark") << paletteOf(Qt::white, QColor(0x2a, 0x2a, 0x2a));
    QTest::newRow("high contrast") << paletteOf(Qt::white, Qt::black);
    QTest::newRow("high contrast, light") << paletteOf(Qt::black, Qt::white);
    QTest::newRow("solarized") << paletteOf(QColor(0x65, 0x7b, 0x83), QColor(0xfd, 0xf6, 0xe3));
}

} // namespace

/// In which colours paragraphs are drawn.
class TestParagraphColour : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void contrastIsThatOfTheGuidelines();
    void everyKindHasAVoice();
    void outputHasTheColourOfTexts_data() { addPalettes(); }
    void outputHasTheColourOfTexts();
    void voicesAreToldApart_data() { addPalettes(); }
    void voicesAreToldApart();
    void everyVoiceIsReadableOnEveryBackground();
};

void TestParagraphColour::contrastIsThatOfTheGuidelines()
{
    QCOMPARE(contrastRatio(Qt::black, Qt::white), 21.0);
    QCOMPARE(contrastRatio(Qt::white, Qt::black), 21.0);
    QCOMPARE(contrastRatio(Qt::red, Qt::red), 1.0);
    QCOMPARE(qRound(100 * contrastRatio(QColor(0x76, 0x76, 0x76), Qt::white)), 454);
    QCOMPARE(qRound(100 * contrastRatio(Qt::red, Qt::white)), 400);
}

void TestParagraphColour::everyKindHasAVoice()
{
    for (const ParagraphVoice voice : voices)
        QCOMPARE(voiceOf(paragraphOf(voice)), voice);
    for (const TranscriptRecordKind kind :
         {TranscriptRecordKind::ApplicationLabel, TranscriptRecordKind::Outcome})
        QCOMPARE(voiceOf({.kind = kind}), ParagraphVoice::Notice);
}

void TestParagraphColour::outputHasTheColourOfTexts()
{
    QFETCH(QPalette, palette);
    QCOMPARE(paragraphColour(paragraphOf(ParagraphVoice::Output), palette),
             palette.color(QPalette::Text));
}

void TestParagraphColour::voicesAreToldApart()
{
    QFETCH(QPalette, palette);
    constexpr int plainToSee = 100;
    for (const ParagraphVoice one : voices) {
        for (const ParagraphVoice other : voices) {
            const QColor first = paragraphColour(paragraphOf(one), palette);
            const QColor second = paragraphColour(paragraphOf(other), palette);
            QVERIFY2(one == other || distance(first, second) >= plainToSee,
                     qPrintable(first.name() + u' ' + second.name()));
        }
    }
}

void TestParagraphColour::everyVoiceIsReadableOnEveryBackground()
{
    constexpr int step = 15;
    for (int red = 0; red <= 255; red += step) {
        for (int green = 0; green <= 255; green += step) {
            for (int blue = 0; blue <= 255; blue += step) {
                const QColor base(red, green, blue);
                for (const ParagraphVoice voice : colouredVoices) {
                    const QColor colour =
                        paragraphColour(paragraphOf(voice), paletteOf(Qt::black, base));
                    QVERIFY2(contrastRatio(colour, base) >= enoughForText,
                             qPrintable(colour.name() + u" on "_s + base.name()));
                }
            }
        }
    }
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestParagraphColour))
#include "tst_paragraphcolour.moc"
