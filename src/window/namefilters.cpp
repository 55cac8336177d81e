#include "window/namefilters.h"

namespace tarn::console {

namespace {

QString asciiPatterns(const QString &patterns)
{
    QString ascii;
    for (const QChar letter : patterns) {
        if (letter.unicode() < 0x80)
            ascii += letter;
        else if (!letter.isLowSurrogate())
            ascii += QStringLiteral("[!!-~]");
    }
    return ascii;
}

} // namespace

QStringList nativeNameFilters(QStringList filters)
{
    for (QString &filter : filters) {
        const qsizetype start = filter.lastIndexOf(u'(');
        if (start >= 0)
            filter = filter.left(start) + asciiPatterns(filter.mid(start));
    }
    return filters;
}

} // namespace tarn::console
