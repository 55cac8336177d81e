// Command lines and file names of any bytes: what is taken in, and how it is shown.

#include "fuzz/fuzzing.h"

#include "app/commandline.h"
#include "session/filename.h"
#include "transcript/visibleescape.h"
#include "window/pathmarks.h"
#include "window/statusmessage.h"
#include "window/visibletext.h"

#include <QCoreApplication>
#include <QStringList>

using namespace Qt::StringLiterals;
using namespace tarn::console;

namespace {

constexpr QChar leftToRightMark(0x200E);

/// No file of the system may have a say in it.
void needApplication()
{
    static int count = 1;
    static char name[] = "fuzz";
    static char *arguments[] = {name, nullptr};
    static const QCoreApplication application(count, arguments);
}

QString nameProblem(const QByteArray &bytes)
{
    const QString name = FileName::fromBytes(bytes);
    if (FileName::toBytes(name) != bytes)
        return u"not the bytes it was made of"_s;
    const QString printable = FileName::printable(name);
    if (FileName::hasRawBytes(printable))
        return u"raw bytes in what is printed"_s;
    if (!FileName::hasRawBytes(name) && printable != name)
        return u"a plain name is printed otherwise"_s;
    return QString();
}

/// Whether a text could change how its neighbours look, or look like another one.
bool hasHiddenControls(const QString &text)
{
    const auto codePoints = text.toUcs4();
    for (const uint codePoint : codePoints) {
        if (isShownAsEscape(codePoint) || codePoint == leftToRightMark.unicode())
            return true;
    }
    return false;
}

QString shownProblem(const QString &text)
{
    const QString visible = visibleText(text);
    if (hasHiddenControls(visible))
        return u"controls in a visible text"_s;
    if (visibleText(visible) != visible)
        return u"a visible text is escaped once more"_s;
    QString unmarked = withPathMarks(visible);
    if (unmarked.remove(leftToRightMark) != visible)
        return u"marks change a path"_s;
    constexpr qsizetype few = 20;
    if (shortenedText(text, few).size() > few + 1)
        return u"a shortened text is too long"_s;
    const StatusMessage message{.pattern = u"Cannot read: %1"_s, .argument = text};
    if (message.text() != u"Cannot read: "_s + text)
        return u"a message changes what it names"_s;
    const QString isolated = message.isolatedText();
    if (isolated.count(QChar(0x2069)) != 1 || !isolated.endsWith(QChar(0x2069)))
        return u"what a message names leaves its isolate"_s;
    return QString();
}

QString commandLineProblem(const QStringList &arguments)
{
    CommandLine commandLine;
    if (!commandLine.parse(QStringList(u"tarn-console"_s) + arguments))
        return QString();
    const ConsoleStartupOptions options = commandLine.options();
    if (!options.sourcePath.isEmpty() && !arguments.contains(options.sourcePath))
        return u"a source that nobody named"_s;
    if (FileName::hasRawBytes(options.executablePath))
        return u"raw bytes in the interpreter's path"_s;
    return QString();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uchar *data, size_t size)
{
    static ByteCount byteCount;
    byteCount.add(size);
    needApplication();
    const QByteArray bytes(reinterpret_cast<const char *>(data), qsizetype(size));
    QStringList arguments;
    // As the system hands arguments over, none of them has a zero in it.
    const QList<QByteArray> names = bytes.split('\0');
    for (const QByteArray &name : names) {
        stopAt(nameProblem(name));
        arguments.append(FileName::fromBytes(name));
        stopAt(shownProblem(FileName::printable(arguments.constLast())));
    }
    stopAt(commandLineProblem(arguments));
    return 0;
}
