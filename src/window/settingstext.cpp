#include "window/settingstext.h"

#include <QList>

#include <algorithm>
#include <utility>

namespace tarn::console {

namespace {

bool isBlank(char byte)
{
    return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n';
}

bool isLineEnd(char byte)
{
    return byte == '\n' || byte == '\r';
}

/// What QSettings takes for a line: without what comes before it, blanks and comments, and up to a
/// line end or a comment. Neither ends it after a backslash or between quotes.
struct Line
{
    qsizetype start = 0;
    qsizetype end = 0;
    QByteArray name; ///< of a section, in lower case, or of a key
    bool isHeader = false;
    bool isTopLevel = false;
};

qsizetype startOfLine(const QByteArray &text, qsizetype at)
{
    bool isComment = false;
    for (; at < text.size(); ++at) {
        isComment = isComment ? !isLineEnd(text.at(at)) : text.at(at) == ';';
        if (!isComment && !isBlank(text.at(at)))
            break;
    }
    return at;
}

/// Behind the backslash that is there, and what it escapes.
qsizetype endOfEscape(const QByteArray &text, qsizetype at)
{
    const QByteArray escaped = text.mid(at + 1, 2);
    const bool isPair = escaped == "\r\n" || escaped == "\n\r";
    return std::min(at + (isPair ? 3 : 2), text.size());
}

Line lineFrom(const QByteArray &text, qsizetype from)
{
    Line line;
    line.start = startOfLine(text, from);
    qsizetype at = line.start;
    qsizetype endOfKey = -1;
    for (bool quoted = false; at < text.size();) {
        const char byte = text.at(at);
        if (!quoted && (isLineEnd(byte) || byte == ';'))
            break;
        if (!quoted && byte == '=' && endOfKey < 0)
            endOfKey = at;
        quoted ^= byte == '"';
        at = byte == '\\' ? endOfEscape(text, at) : at + 1;
    }
    line.end = at;
    const QByteArray bytes = text.sliced(line.start, line.end - line.start);
    line.isHeader = bytes.startsWith('[');
    if (line.isHeader)
        line.name = bytes.sliced(1).split(']').constFirst().trimmed().toLower();
    else if (endOfKey >= 0)
        line.name = bytes.first(endOfKey - line.start).trimmed();
    return line;
}

QList<Line> linesOf(const QByteArray &text)
{
    QList<Line> lines;
    bool isTopLevel = true;
    for (Line line = lineFrom(text, 0); line.start < text.size(); line = lineFrom(text, line.end)) {
        if (line.isHeader)
            isTopLevel = line.name == "general";
        line.isTopLevel = isTopLevel;
        lines.append(line);
    }
    return lines;
}

bool isTopLevelKey(const Line &line)
{
    return line.isTopLevel && !line.isHeader && !line.name.isEmpty();
}

/// A byte order mark says nothing in UTF-8, and is one at the beginning only.
QByteArray withoutMark(const QByteArray &text)
{
    const QByteArray mark("\xEF\xBB\xBF");
    return text.startsWith(mark) ? text.sliced(mark.size()) : text;
}

/// Whether a line can be put behind it: quotes and backslashes may make it a part of the header.
bool isPlainHeader(const QByteArray &text, const Line &line)
{
    const QByteArray bytes = text.sliced(line.start, line.end - line.start);
    return line.isHeader && !bytes.contains('"') && !bytes.contains('\\');
}

/// Each with a line feed before it.
QByteArray topLevelLines(const QByteArray &text)
{
    QByteArray found;
    for (const Line &line : linesOf(text)) {
        if (isTopLevelKey(line))
            found += '\n' + text.sliced(line.start, line.end - line.start);
    }
    return found;
}

/// Behind the line and the line end that goes with it.
qsizetype startOfRest(const QByteArray &text, const Line &line)
{
    const QByteArray next = text.mid(line.end, 2);
    if (next == "\r\n")
        return line.end + 2;
    return !next.isEmpty() && isLineEnd(next.front()) ? line.end + 1 : line.end;
}

} // namespace

QSet<QByteArray> SettingsText::topLevelKeys(const QByteArray &text)
{
    QSet<QByteArray> keys;
    for (const Line &line : linesOf(withoutMark(text))) {
        if (isTopLevelKey(line))
            keys.insert(line.name);
    }
    return keys;
}

QByteArray SettingsText::merged(const QByteArray &text, const QByteArray &update)
{
    const QByteArray old = withoutMark(text);
    const QSet<QByteArray> replaced = topLevelKeys(update);
    QByteArray newLines = topLevelLines(update);
    QByteArray result;
    qsizetype taken = 0;
    for (const Line &line : linesOf(old)) {
        if (isTopLevelKey(line) && replaced.contains(line.name)) {
            result += old.sliced(taken, line.start - taken);
            taken = startOfRest(old, line);
        } else if (isPlainHeader(old, line) && line.isTopLevel) {
            result += old.sliced(taken, line.end - taken) + std::exchange(newLines, {});
            taken = line.end;
        }
    }
    result += old.sliced(taken);
    return newLines.isEmpty() ? result : "[General]" + newLines + '\n' + result;
}

} // namespace tarn::console
