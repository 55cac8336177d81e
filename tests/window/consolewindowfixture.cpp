#include "window/consolewindowfixture.h"

#include <QApplication>
#include <QTest>
#include <QTextCursor>
#include <QWindow>

namespace tarn::console {

using namespace Qt::StringLiterals;

namespace {

ConsoleStartupOptions withSource(ConsoleStartupOptions options, const QString &path)
{
    options.sourcePath = path;
    return options;
}

QString prefixOf(const TranscriptRecord &record)
{
    switch (record.kind) {
    case TranscriptRecordKind::StreamOutput:
        return record.stream == TranscriptStream::StandardError ? u"err: "_s : u"out: "_s;
    case TranscriptRecordKind::InputEcho:
        return u"echo: "_s;
    case TranscriptRecordKind::ApplicationLabel:
        return u"label: "_s;
    case TranscriptRecordKind::Outcome:
        return u"outcome: "_s;
    case TranscriptRecordKind::LimitNotice:
        return u"limit: "_s;
    }
    return u"unknown: "_s;
}

QString contentOf(const TranscriptRecord &record)
{
    switch (record.kind) {
    case TranscriptRecordKind::StreamOutput:
    case TranscriptRecordKind::InputEcho:
        return record.text;
    case TranscriptRecordKind::ApplicationLabel:
        return record.label;
    case TranscriptRecordKind::Outcome:
    case TranscriptRecordKind::LimitNotice:
        return record.detail;
    }
    return {};
}

} // namespace

ConsoleStartupOptions englishOptions()
{
    return {.executablePath = scriptedChild(),
            .sourcePath = {},
            .interfaceLanguage = u"en"_s,
            .usePersistentSettings = false};
}

void addInterfaceLanguages()
{
    QTest::addColumn<QString>("language");
    QTest::newRow("English") << u"en"_s;
    QTest::newRow("Arabic") << u"ar"_s;
}

ConsoleStartupOptions optionsInRowLanguage()
{
    QFETCH(QString, language);
    ConsoleStartupOptions options = englishOptions();
    options.interfaceLanguage = language;
    return options;
}

void selectText(QTextEdit *editor, int from, int to)
{
    QTextCursor cursor = editor->textCursor();
    cursor.setPosition(from);
    cursor.setPosition(to, QTextCursor::KeepAnchor);
    editor->setTextCursor(cursor);
}

void addKeyBindings(QKeySequence::StandardKey key)
{
    QTest::addColumn<QKeySequence>("keys");
    const QList<QKeySequence> bindings = QKeySequence::keyBindings(key);
    for (const QKeySequence &keys : bindings)
        QTest::addRow("%s", qPrintable(keys.toString(QKeySequence::PortableText))) << keys;
}

ConsoleWindowFixture::ConsoleWindowFixture()
    : ConsoleWindowFixture(englishOptions())
{
}

ConsoleWindowFixture::ConsoleWindowFixture(const ConsoleStartupOptions &options)
    : source({})
    , window(std::make_unique<ConsoleWindow>(options))
{
}

ConsoleWindowFixture::ConsoleWindowFixture(const QByteArray &script,
                                           const ConsoleStartupOptions &options)
    : source(script)
    , window(std::make_unique<ConsoleWindow>(withSource(options, source.path())))
{
}

ConsoleWindowFixture::~ConsoleWindowFixture() = default;

bool ConsoleWindowFixture::show() const
{
    // On a very busy machine a window manager may give the focus to nobody when the window before
    // goes while this one comes, or when it has only just started. One that comes anew gets it.
    constexpr int askAgainAfter = 5'000;
    for (int waited = 0; waited < patience; waited += askAgainAfter) {
        window->show();
        window->activateWindow();
        if (QTest::qWaitForWindowActive(window.get(), askAgainAfter))
            return true;
        window->hide();
    }
    return false;
}

bool ConsoleWindowFixture::resizeTo(const QSize &size) const
{
    window->resize(size);
    return QTest::qWaitFor([&] {
        const QWidget *content = window->centralWidget();
        return window->size() == size && content->width() == size.width()
               && content->geometry().bottom() + 1 == size.height();
    });
}

bool ConsoleWindowFixture::run() const
{
    trigger("runAction");
    return QTest::qWaitFor(
        [this] { return window->session().state() == ProgramSessionState::Running; }, patience);
}

bool ConsoleWindowFixture::runUntil(const QString &text) const
{
    trigger("runAction");
    return waitForText(text);
}

bool ConsoleWindowFixture::runToEnd() const
{
    trigger("runAction");
    return waitForEnd();
}

bool ConsoleWindowFixture::waitForText(const QString &text) const
{
    return QTest::qWaitFor([&] { return output().contains(text); }, patience);
}

bool ConsoleWindowFixture::waitForEnd() const
{
    return QTest::qWaitFor([this] { return !window->session().isActive(); }, patience);
}

void ConsoleWindowFixture::press(Qt::Key key, Qt::KeyboardModifiers modifiers) const
{
    QTest::keyClick(window->windowHandle(), key, modifiers);
}

void ConsoleWindowFixture::press(const QKeySequence &keys) const
{
    for (int i = 0; i < keys.count(); ++i)
        press(keys[i].key(), keys[i].keyboardModifiers());
}

void ConsoleWindowFixture::type(const QString &text) const
{
    for (const QChar character : text) {
        const auto key = static_cast<Qt::Key>(character.toUpper().unicode());
        QTest::sendKeyEvent(QTest::Click, window->windowHandle(), key, QString(character),
                            Qt::NoModifier);
    }
}

void ConsoleWindowFixture::click(QWidget *target) const
{
    const QPoint place = target->mapTo(window.get(), target->rect().center());
    QTest::mouseClick(window->windowHandle(), Qt::LeftButton, Qt::NoModifier, place);
}

QString ConsoleWindowFixture::focus() const
{
    const QWidget *focused = QApplication::focusWidget();
    return focused ? focused->objectName() : u"nothing"_s;
}

QString ConsoleWindowFixture::report(const QString &name) const
{
    const QStringList lines = output().split(u'\n');
    for (const QString &line : lines) {
        if (line.section(u':', 0, 0) == name)
            return line.section(u':', 1);
    }
    return {};
}

QStringList ConsoleWindowFixture::records() const
{
    QStringList result;
    QString lastPrefix;
    const QList<TranscriptRecord> &records = window->transcript().records();
    for (const TranscriptRecord &record : records) {
        const QString prefix = prefixOf(record);
        const bool continues =
            record.kind == TranscriptRecordKind::StreamOutput && prefix == lastPrefix;
        if (continues)
            result.last() += contentOf(record);
        else
            result.append(prefix + contentOf(record));
        lastPrefix = prefix;
    }
    return result;
}

QStringList ConsoleWindowFixture::enabledActions() const
{
    QStringList names;
    const QList<QAction *> actions = window->actions();
    for (const QAction *action : actions) {
        if (action->isEnabled())
            names.append(action->objectName());
    }
    names.sort();
    return names;
}

} // namespace tarn::console
