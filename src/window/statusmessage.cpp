#include "window/statusmessage.h"

#include "window/pathmarks.h"
#include "window/visibletext.h"

namespace tarn::console {

namespace {

constexpr QChar leftToRightIsolate(0x2066);
constexpr QChar firstStrongIsolate(0x2068);
constexpr QChar popDirectionalIsolate(0x2069);

QString withArgument(const QString &pattern, const QString &argument)
{
    return pattern.contains(QLatin1StringView("%1")) ? pattern.arg(argument) : pattern;
}

} // namespace

QString StatusMessage::text() const
{
    return withArgument(pattern, argument);
}

QString StatusMessage::isolatedText(qsizetype mostCharacters) const
{
    // A path is read from its root, whatever letters follow.
    const QChar isolate = argument.startsWith(u'/') ? leftToRightIsolate : firstStrongIsolate;
    const QString shown = shortenedText(visibleText(argument), mostCharacters);
    return withArgument(shownPattern.isEmpty() ? pattern : shownPattern,
                        isolate + withPathMarks(shown) + popDirectionalIsolate);
}

bool StatusMessage::isShortened(qsizetype mostCharacters) const
{
    return visibleText(argument).size() > mostCharacters;
}

} // namespace tarn::console
