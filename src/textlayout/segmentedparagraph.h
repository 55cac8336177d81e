#pragma once

#include "textlayout/linebreaker.h"
#include "textlayout/linedrawing.h"

#include <QFont>
#include <QList>
#include <QRectF>
#include <QString>
#include <QTextLayout>
#include <QTextOption>

#include <vector>

class QPaintDevice;
class QPainter;

namespace tarn::console {

/// A long paragraph shaped in segments of whole lines. Text appended to it costs only the last
/// segment: progress dots need not shape 65,536 bytes for each dot.
///
/// A segment ends where the text on both sides does not shape each other: after a blank or tab, or
/// between two ASCII punctuation characters of left-to-right text. The text must run in one
/// direction, that of the paragraph, so that no character decides the order of far ones. Words stay
/// whole where one layout of the paragraph would tear them: Qt shapes 4,096 characters at a time.
/// Nor is a text segmented that has overlong clusters (see overlongClusterPieces()).
class SegmentedParagraph
{
public:
    /// What decides the lines besides the text.
    struct Setting
    {
        QFont font;
        QPaintDevice *device = nullptr;
        QTextOption option;
        qreal lineWidth = 0;
        const AdvanceTable *heights = nullptr; ///< of the font; see breakIntoLines()
    };

    SegmentedParagraph();
    ~SegmentedParagraph();

    /// Shapes a text; cheap when it only got longer since the last time. When it is enough after a
    /// segment, the next call with the same text goes on from there. Returns false, and holds
    /// nothing, when the text cannot be segmented.
    bool shape(const QString &text, const Setting &setting, const IsEnough &isEnough = {});

    /// Of the segments so far.
    ParagraphSize size() const;
    qsizetype length() const { return m_text.size(); }
    bool hasSegments() const { return !m_segments.empty(); }

    /// The parts that one layout of the whole text has to shape apart to have the same lines.
    QList<QTextLayout::FormatRange> pieces() const;

    void draw(QPainter *painter, QPointF position,
              const QList<QTextLayout::FormatRange> &selections, const QRectF &clip,
              const MayDraw &mayDraw = {}) const;
    void drawCursor(QPainter *painter, QPointF position, int offset, int width) const;

private:
    struct Segment;

    bool isContinuedBy(const QString &text, const Setting &setting) const;
    void inspectNewEnd(const QString &text, Qt::LayoutDirection direction);
    void reset();
    bool shapeSegments(const IsEnough &isEnough);
    bool isFinished() const;
    Segment shapeSegment(qsizetype start, qsizetype maximumLength) const;
    bool cutOff(Segment *segment) const;
    BrokenText brokenText(const Segment &segment) const;
    qsizetype shapedEnd() const;
    bool isCut(qsizetype position) const;
    bool hasCut(qsizetype begin, qsizetype end) const;

    QString m_text;
    Setting m_setting;
    bool m_canBeCut = true;
    std::vector<Segment> m_segments;
};

} // namespace tarn::console
