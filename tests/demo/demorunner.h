#pragma once

#include <QFile>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

/// Runs the built demo interpreter as a real child.
class DemoRunner
{
public:
    struct Run
    {
        QString output;
        QString errors;
        int status = -1; ///< The exit status, or the signal of a crash.
        QProcess::ExitStatus exitStatus = QProcess::NormalExit;
    };

    /// The four arguments with which the console starts its interpreter.
    static QStringList commandLine(const QString &script,
                                   const QString &language = QStringLiteral("en"))
    {
        return {QStringLiteral("run"), script, QStringLiteral("--diagnostic-language=") + language,
                QStringLiteral("--color=never")};
    }

    QString filePath(const QString &name) const { return m_directory.filePath(name); }

    /// Writes a script and returns its path.
    QString write(const QByteArray &source) const
    {
        QFile file(filePath(QStringLiteral("script.tarn")));
        if (!file.open(QIODevice::WriteOnly) || file.write(source) != source.size())
            qFatal("cannot write the script");
        return file.fileName();
    }

    Run run(const QStringList &arguments, const QByteArray &input = {}) const
    {
        QProcess process;
        process.start(QStringLiteral(TARN_DEMO), arguments);
        process.write(input);
        process.closeWriteChannel();
        if (!process.waitForFinished())
            qFatal("tarn-demo does not end");
        return {QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError()), process.exitCode(),
                process.exitStatus()};
    }

    void start(QProcess &process, const QString &script) const
    {
        process.start(QStringLiteral(TARN_DEMO), commandLine(script));
        if (!process.waitForStarted())
            qFatal("tarn-demo does not start");
    }

private:
    QTemporaryDir m_directory;
};
