#include "window/settingstext.h"

#include <utility>

namespace tarn::console {

namespace {

/// A line of the file, or several of which each continues the one before.
struct Line
{
    QByteArray bytes;
    bool isTopLevel = false; ///< and no header of a section

    bool isTopLevelHeader() const
    {
        return bytes.trimmed().compare("[general]", Qt::CaseInsensitive) == 0;
    }
    /// Empty when it is none.
    QByteArray topLevelKey() const
    {
        const qsizetype end = bytes.indexOf('=');
        const bool isKey = isTopLevel && end > 0 && !isComment();
        return isKey ? bytes.first(end).trimmed() : QByteArray();
    }
    bool isHeader() const { return bytes.trimmed().startsWith('['); }
    bool isComment() const { return bytes.startsWith(';') || bytes.startsWith('#'); }
};

/// Where the line that begins here ends: a line feed after a backslash or between quotes does not
/// end it.
qsizetype endOfLine(const QByteArray &text, qsizetype start)
{
    const bool isComment = text.at(start) == ';' || text.at(start) == '#';
    bool quoted = false;
    for (qsizetype at = start; at < text.size(); ++at) {
        const char byte = text.at(at);
        if (byte == '\n' && !quoted)
            return at + 1;
        if (isComment)
            continue;
        if (byte == '\\')
            ++at;
        else if (byte == '"')
            quoted = !quoted;
    }
    return text.size();
}

QList<Line> linesOf(const QByteArray &text)
{
    QList<Line> lines;
    bool isTopLevel = true;
    for (qsizetype start = 0; start < text.size();) {
        const qsizetype end = endOfLine(text, start);
        Line line{text.sliced(start, end - start)};
        if (line.isHeader())
            isTopLevel = line.isTopLevelHeader();
        else
            line.isTopLevel = isTopLevel;
        lines.append(std::move(line));
        start = end;
    }
    return lines;
}

/// A byte order mark says nothing in UTF-8, and is one at the beginning only.
QByteArray withoutMark(const QByteArray &text)
{
    const QByteArray mark("\xEF\xBB\xBF");
    return text.startsWith(mark) ? text.sliced(mark.size()) : text;
}

QByteArray topLevelLines(const QByteArray &text)
{
    QByteArray found;
    for (const Line &line : linesOf(text)) {
        if (!line.topLevelKey().isEmpty())
            found += line.bytes;
    }
    return found;
}

} // namespace

QSet<QByteArray> SettingsText::topLevelKeys(const QByteArray &text)
{
    QSet<QByteArray> keys;
    for (const Line &line : linesOf(withoutMark(text)))
        keys.insert(line.topLevelKey());
    keys.remove({});
    return keys;
}

QByteArray SettingsText::merged(const QByteArray &text, const QByteArray &update)
{
    const QSet<QByteArray> replaced = topLevelKeys(update);
    QByteArray newLines = topLevelLines(update);
    QByteArray result;
    for (const Line &line : linesOf(withoutMark(text))) {
        if (!replaced.contains(line.topLevelKey()))
            result += line.bytes;
        if (line.isTopLevelHeader())
            result += std::exchange(newLines, {});
    }
    return newLines.isEmpty() ? result : "[General]\n" + newLines + result;
}

} // namespace tarn::console
