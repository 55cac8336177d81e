#include "textlayout/heightshape.h"

#include "textlayout/blockheight.h"

#include <QStringList>
#include <QTextBlock>
#include <QTextDocument>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

/// Blocks in a row that are printed as one.
struct Run
{
    int blocks = 0;
    int pixels = 0; ///< of each measured block, or of all guessed ones together
    bool isExact = true;

    bool takes(const BlockHeight &height) const
    {
        return height.isExact() == isExact && (!isExact || height.pixels == pixels);
    }

    QString print() const
    {
        if (!isExact)
            return u"gap(%1?)"_s.arg(pixels);
        const QString line = u"line(%1)"_s.arg(pixels);
        return blocks == 1 ? line : QString::number(blocks) + u'*' + line;
    }
};

} // namespace

QString heightShape(const QTextDocument &document)
{
    QStringList shape;
    Run run;
    for (QTextBlock block = document.firstBlock(); block.isValid(); block = block.next()) {
        const auto height = BlockHeight::of(block);
        if (run.blocks > 0 && !run.takes(height)) {
            shape << run.print();
            run = {};
        }
        const bool adds = run.blocks > 0 && !run.isExact;
        run = {.blocks = run.blocks + 1,
               .pixels = (adds ? run.pixels : 0) + height.pixels,
               .isExact = height.isExact()};
    }
    shape << run.print();
    return shape.join(u' ');
}

} // namespace tarn::console
