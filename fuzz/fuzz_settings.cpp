// Settings files of any content: what is read from them is valid, and what is written comes back.

#include "fuzz/fuzzing.h"

#include "window/preferences.h"

#include <QApplication>
#include <QFile>
#include <QFont>
#include <QSettings>
#include <QTemporaryDir>
#include <QWidget>

using namespace Qt::StringLiterals;
using namespace tarn::console;

namespace {

void needApplication()
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static int count = 1;
    static char name[] = "fuzz";
    static char *arguments[] = {name, nullptr};
    static const QApplication application(count, arguments);
}

QString valueProblem(const Preferences &preferences)
{
    if (preferences.interfaceLanguage != "ar"_L1 && preferences.interfaceLanguage != "en"_L1)
        return u"language "_s + preferences.interfaceLanguage;
    if (preferences.fontPointSize < Preferences::minimumFontPointSize
        || preferences.fontPointSize > Preferences::maximumFontPointSize)
        return u"size %1"_s.arg(preferences.fontPointSize);
    if (preferences.font().pointSize() < Preferences::minimumFontPointSize)
        return u"font of size %1"_s.arg(preferences.font().pointSize());
    return QString();
}

/// As a window does with what it finds there.
void restoreGeometry(const QByteArray &geometry)
{
    QWidget window;
    window.setMinimumSize(800, 500);
    window.restoreGeometry(geometry);
    if (window.width() < 800 || window.height() < 500)
        stopAt(u"a window smaller than it may be"_s);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uchar *data, size_t size)
{
    static ByteCount byteCount;
    byteCount.add(size);
    needApplication();
    static const QTemporaryDir directory;
    // QSettings remembers what it has read of a file.
    static int number = 0;
    const QString path = directory.filePath(u"%1.conf"_s.arg(++number));
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        stopAt(u"there is no place for the file"_s);
    file.write(reinterpret_cast<const char *>(data), qint64(size));
    file.close();

    QSettings settings(path, QSettings::NativeFormat);
    const Preferences read = Preferences::load(settings);
    stopAt(valueProblem(read));
    restoreGeometry(read.windowGeometry);
    read.save(&settings);
    settings.sync();
    if (settings.status() == QSettings::NoError) {
        const QString copy = path + u".copy"_s;
        QFile::copy(path, copy);
        if (Preferences::load(QSettings(copy, QSettings::NativeFormat)) != read)
            stopAt(u"what was written does not come back"_s);
        QFile::remove(copy);
    }
    QFile::remove(path);
    return 0;
}
