#include "window/statusmessage.h"

#include "window/pathmarks.h"
#include "window/visibletext.h"

namespace tarn::console {

namespace {

constexpr QChar leftToRightIsolate(0x2066);
constexpr QChar firstStrongIsolate(0x2068);
constexpr QChar popDirectionalIsolate(0x2069);

/// As many as fit into three lines of a window of the usual size.
constexpr qsizetype mostShownCharacters = 200;

QString withArgument(const QString &pattern, const QString &argument)
{
    return pattern.contains(QLatin1StringView("%1")) ? pattern.arg(argument) : pattern;
}

} // namespace

QString StatusMessage::text() const
{
    return withArgument(pattern, argument);
}

QString StatusMessage::isolatedText() const
{
    // A path is read from its root, whatever letters follow.
    const QChar isolate = argument.startsWith(u'/') ? leftToRightIsolate : firstStrongIsolate;
    const QString shown = shortenedText(visibleText(argument), mostShownCharacters);
    return withArgument(shownPattern.isEmpty() ? pattern : shownPattern,
                        isolate + withPathMarks(shown) + popDirectionalIsolate);
}

bool StatusMessage::isShortened() const
{
    return visibleText(argument).size() > mostShownCharacters;
}

} // namespace tarn::console
