#include "window/interfacelanguage.h"

#include "window/preferences.h"

#include <QCoreApplication>
#include <QDir>
#include <QGuiApplication>

#include <utility>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

bool liesIn(const QDir &inner, const QString &outer)
{
    const QString folder = QDir(outer).canonicalPath();
    const QString from = inner.canonicalPath();
    return !folder.isEmpty()
           && (folder == "/"_L1 || from == folder || from.startsWith(folder + u'/'));
}

} // namespace

QStringList InterfaceLanguage::catalogueDirectories()
{
    const QDir application(QCoreApplication::applicationDirPath());
    QStringList directories{u"/usr/share/tarn-console/translations"_s,
                            application.filePath(u"../share/tarn-console/translations"_s),
                            application.absolutePath()};
    if (liesIn(application, QStringLiteral(TARN_BUILD_TRANSLATIONS_USERS)))
        directories.prepend(QStringLiteral(TARN_BUILD_TRANSLATIONS_DIR));
    return directories;
}

InterfaceLanguage::InterfaceLanguage(QStringList directories)
    : m_directories(std::move(directories))
{
}

void InterfaceLanguage::set(const QString &code)
{
    QCoreApplication::removeTranslator(&m_translator);
    m_code = Preferences::normalizedLanguage(code);
    const bool english = m_code == "en"_L1;
    if (!english)
        installTranslator();
    QGuiApplication::setLayoutDirection(english ? Qt::LeftToRight : Qt::RightToLeft);
}

void InterfaceLanguage::installTranslator()
{
    for (const QString &directory : std::as_const(m_directories)) {
        const QString catalogue = QDir(directory).filePath(u"tarn_console_ar.qm"_s);
        // Empty, but not null: otherwise shortened and completed names would be tried too.
        if (m_translator.load(catalogue, u""_s, u""_s, u""_s)) {
            QCoreApplication::installTranslator(&m_translator);
            return;
        }
    }
}

} // namespace tarn::console
