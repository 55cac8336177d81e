#pragma once

#include <QString>
#include <QStringList>
#include <QTranslator>

namespace tarn::console {

/// The language of the interface: English, which the sources are written in, or Arabic, which
/// comes from a catalogue. It decides the side from which the whole application is read.
class InterfaceLanguage
{
public:
    /// The places where an installed or a freshly built console finds its catalogue. The folder of
    /// the build is one only for programs that lie in the build: later it may be anybody's.
    static QStringList catalogueDirectories();

    /// Looks for "tarn_console_ar.qm" in the directories, in their order, whenever the language
    /// becomes Arabic.
    explicit InterfaceLanguage(QStringList directories);

    /// "en" is English, everything else Arabic. Without a usable catalogue, the Arabic interface
    /// has English texts. Qt tells every window of the change with QEvent::LanguageChange.
    void set(const QString &code);

    /// "en" or "ar"; empty before the first set().
    const QString &code() const { return m_code; }

private:
    void installTranslator();

    QStringList m_directories;
    QTranslator m_translator;
    QString m_code;
};

} // namespace tarn::console
