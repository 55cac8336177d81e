// The direction of any text, half characters included, beside the rule in its plainest form.

#include "fuzz/fuzzing.h"

#include "widgets/paragraphpresentation.h"

#include <QChar>
#include <QList>
#include <QString>

#include <cstring>

using namespace Qt::StringLiterals;
using namespace tarn::console;

namespace {

Qt::LayoutDirection plainDirection(const QString &text)
{
    const auto codePoints = text.toUcs4();
    for (const uint codePoint : codePoints) {
        const QChar::Direction direction = QChar::direction(codePoint);
        if (direction == QChar::DirL)
            return Qt::LeftToRight;
        if (direction == QChar::DirR || direction == QChar::DirAL)
            return Qt::RightToLeft;
    }
    return Qt::LeftToRight;
}

QString directionProblem(const QString &text)
{
    const Qt::LayoutDirection expected = plainDirection(text);
    if (firstStrongDirection(text) != expected)
        return u"direction %1"_s.arg(firstStrongDirection(text));
    for (int choice = 0; choice < 4; ++choice) {
        const bool rightToLeft = choice == 2 || (choice == 0 && expected == Qt::RightToLeft);
        const ParagraphPresentation presentation =
            paragraphPresentation(ContentDirection(choice), text);
        if (presentation.rightAligned != rightToLeft
            || presentation.layoutDirection != (rightToLeft ? Qt::RightToLeft : Qt::LeftToRight))
            return u"presentation for choice %1"_s.arg(choice);
    }
    return QString();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uchar *data, size_t size)
{
    static ByteCount byteCount;
    byteCount.add(size);
    QString text(qsizetype(size / sizeof(QChar)), Qt::Uninitialized);
    std::memcpy(text.data(), data, size_t(text.size()) * sizeof(QChar));
    stopAt(directionProblem(text));
    return 0;
}
