#include "textlayout/twinedits.h"

#include "support/meanthit.h"
#include "support/settling.h"

#include <QCoreApplication>
#include <QDebug>
#include <QImage>
#include <QPixmap>
#include <QResizeEvent>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextLayout>

#include <algorithm>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

template<typename Value>
QString described(const Value &value)
{
    QString text;
    QDebug(&text) << value;
    return text.trimmed();
}

template<typename Value>
QString compared(const QString &what, const Value &actual, const Value &expected)
{
    return actual == expected ? QString() : insteadOf(what, described(actual), described(expected));
}

QAbstractTextDocumentLayout &layoutOf(const QTextEdit &edit)
{
    return *edit.document()->documentLayout();
}

int expectedMaximum(const QTextEdit &edit)
{
    const int height = layoutOf(edit).documentSize().toSize().height();
    return std::max(0, height - edit.viewport()->height());
}

/// Without how far a letter leans out of them, of which Qt has several opinions.
QList<QRectF> linesOf(const QTextBlock &block)
{
    QList<QRectF> lines;
    for (int i = 0; i < block.layout()->lineCount(); ++i) {
        const QTextLine line = block.layout()->lineAt(i);
        const QRectF rect = line.naturalTextRect();
        lines.append(QRectF(rect.topLeft(), QSizeF(line.horizontalAdvance(), rect.height())));
    }
    return lines;
}

/// As wide as its lines say.
QRectF rectOf(const QTextEdit &edit, const QTextBlock &block)
{
    const QRectF rect = layoutOf(edit).blockBoundingRect(block);
    return {rect.topLeft(), QSizeF(0, rect.height())};
}

} // namespace

QString insteadOf(const QString &what, const QString &actual, const QString &expected)
{
    return u"%1: %2 instead of %3"_s.arg(what, actual, expected);
}

TwinEdits::TwinEdits()
{
    QTextDocument *document = lazy().document();
    document->setDocumentLayout(new LazyDocumentLayout(document, lazy().viewport()));
    // As long as it can draw images, newer versions of Qt reserve U+FFFC for them; without, as
    // ours, they draw it as any other character, which is better in a text without images.
    layoutOf(stock()).unregisterHandler(QTextFormat::ImageObject);
    both([](QTextEdit &edit) {
        // Only one of two windows could have the focus, and its caret would blink.
        edit.setFocusPolicy(Qt::NoFocus);
        edit.setAcceptRichText(false);
        edit.setMinimumSize(0, 0);
    });
    for (Side *side : {&m_lazy, &m_stock}) {
        auto *layout = new QVBoxLayout(&side->window);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSizeConstraint(QLayout::SetNoConstraint);
        layout->addWidget(side->edit);
    }
}

void TwinEdits::show(QSize size)
{
    for (Side *side : {&m_lazy, &m_stock}) {
        side->window.resize(size);
        side->window.show();
    }
    QCoreApplication::processEvents();
}

void TwinEdits::resize(QSize size)
{
    for (Side *side : {&m_lazy, &m_stock})
        side->window.resize(size);
    QCoreApplication::processEvents();
}

void TwinEdits::setText(const QString &text)
{
    both([&text](QTextEdit &edit) { edit.setPlainText(text); });
    present();
}

Qt::Alignment TwinEdits::alignment(const QTextEdit &edit, Qt::Alignment side)
{
    const bool isLazy = qobject_cast<LazyDocumentLayout *>(edit.document()->documentLayout());
    return isLazy ? side : side | Qt::AlignAbsolute;
}

void TwinEdits::present()
{
    both([](QTextEdit &edit) {
        QTextCursor walk(edit.document());
        walk.joinPreviousEditBlock();
        for (QTextBlock block = edit.document()->begin(); block.isValid(); block = block.next()) {
            const bool rightToLeft = block.text().isRightToLeft();
            QTextBlockFormat format;
            format.setLayoutDirection(rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
            format.setAlignment(alignment(edit, rightToLeft ? Qt::AlignRight : Qt::AlignLeft));
            QTextCursor(block).setBlockFormat(format);
        }
        walk.endEditBlock();
    });
}

/// Brings the scroll range up to date with the size; a scroll bar that comes or goes changes the
/// width and starts the layout again.
void TwinEdits::complete(QTextEdit &edit)
{
    for (int round = 0; round < 4; ++round) {
        const int maximum = expectedMaximum(edit);
        QResizeEvent sameSize(edit.viewport()->size(), edit.viewport()->size());
        QCoreApplication::sendEvent(edit.viewport(), &sameSize);
        if (edit.verticalScrollBar()->maximum() == maximum)
            return;
    }
}

/// Qt shapes 4,096 characters at a time, whatever it tears apart. Its own layout gets the pieces of
/// the lazy one, which end where nothing is torn.
void TwinEdits::cutStockBlocks()
{
    constexpr int shortBlock = 500;
    QTextBlock from = lazy().document()->begin();
    QTextBlock to = stock().document()->begin();
    for (; from.isValid() && to.isValid(); from = from.next(), to = to.next()) {
        if (from.length() <= shortBlock || !to.layout()->preeditAreaText().isEmpty())
            continue;
        layoutOf(lazy()).blockBoundingRect(from);
        auto pieces = from.layout()->formats();
        // Blanks at the ends of lines that were made before.
        erase_if(pieces, [](const QTextLayout::FormatRange &piece) {
            return piece.format.hasProperty(QTextFormat::FontLetterSpacing);
        });
        to.layout()->setFormats(pieces);
    }
}

bool TwinEdits::settle()
{
    QCoreApplication::processEvents();
    auto &layout = static_cast<LazyDocumentLayout &>(layoutOf(lazy()));
    cutStockBlocks();
    // Qt's layout misses blocks and never gets to them after several changes in a row.
    QTextDocument *document = stock().document();
    document->markContentsDirty(0, document->characterCount());
    complete(stock());
    const auto isSettled = [&] {
        return layout.isExact()
               && (!m_lazy.window.isVisible()
                   || lazy().verticalScrollBar()->maximum() == expectedMaximum(lazy()));
    };
    return waitWhileBusy(&layout, isSettled);
}

QString TwinEdits::difference()
{
    if (!settle())
        return u"heights are still guessed"_s;
    QString difference = blockDifference();
    if (difference.isEmpty())
        difference = compared(u"document size"_s, layoutOf(lazy()).documentSize(),
                              layoutOf(stock()).documentSize());
    if (difference.isEmpty())
        difference = hitDifference(Qt::FuzzyHit);
    if (difference.isEmpty())
        difference = hitDifference(Qt::ExactHit);
    return difference.isEmpty() ? visibleDifference() : difference;
}

QString TwinEdits::blockDifference()
{
    QTextBlock a = lazy().document()->begin();
    QTextBlock b = stock().document()->begin();
    for (; a.isValid() && b.isValid(); a = a.next(), b = b.next()) {
        const QString what = u"block %1 '%2'"_s.arg(a.blockNumber()).arg(a.text().left(60));
        QString difference = compared(what, rectOf(lazy(), a), rectOf(stock(), b));
        if (difference.isEmpty())
            difference = compared(what, linesOf(a), linesOf(b));
        if (!difference.isEmpty())
            return difference;
    }
    return a.isValid() || b.isValid() ? u"other block count"_s : QString();
}

QString TwinEdits::hitDifference(Qt::HitTestAccuracy accuracy)
{
    const QSizeF size = layoutOf(stock()).documentSize();
    const qreal height = std::min(size.height(), 600.0);
    const MeantHits meant(*stock().document());
    for (qreal below = -7; below < height + 30; below += 6.5) {
        for (const qreal y : {below, size.height() - below}) {
            for (qreal x = -9; x < size.width() + 30; x += 17) {
                const QPointF point(x, y);
                const int answer = layoutOf(lazy()).hitTest(point, accuracy);
                const int stocks = layoutOf(stock()).hitTest(point, accuracy);
                const auto what = [&] {
                    return u"hit test %1 at %2"_s.arg(accuracy).arg(described(point));
                };
                // Whoever asks for exact hits only wants to know whether there is one.
                if (accuracy == Qt::ExactHit && (answer < 0) != (stocks < 0))
                    return compared(what(), answer, stocks);
                if (accuracy == Qt::FuzzyHit && !meant.at(point).contains(answer))
                    return compared(what(), answer, *meant.at(point).begin());
            }
        }
    }
    return {};
}

QString TwinEdits::visibleDifference()
{
    if (!m_lazy.window.isVisible())
        return {};
    const QScrollBar *actual = lazy().verticalScrollBar();
    const QScrollBar *expected = stock().verticalScrollBar();
    QString difference = compared(u"scroll range"_s, actual->maximum(), expected->maximum());
    if (difference.isEmpty())
        difference = compared(u"scroll value"_s, actual->value(), expected->value());
    if (difference.isEmpty())
        difference = compared(u"viewport"_s, lazy().viewport()->size(), stock().viewport()->size());
    if (!difference.isEmpty())
        return difference;
    // Wrapped text has nothing to scroll sideways but a pixel of rounding.
    both([](QTextEdit &edit) { edit.horizontalScrollBar()->setValue(0); });
    const QImage image = lazy().viewport()->grab().toImage();
    return image == stock().viewport()->grab().toImage() ? QString() : u"other pixels"_s;
}

} // namespace tarn::console
