#include "catalogue.h"
#include "support/testregistry.h"

#include <QFile>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

const QString windowContext = u"tarn::console::ConsoleWindow"_s;

QString cataloguePath()
{
    return QStringLiteral(TARN_CATALOGUE_DIR) + u"/tarn_console_ar.ts"_s;
}

bool hasLetters(QStringView text, QChar::Script script)
{
    return std::any_of(text.cbegin(), text.cend(), [script](QChar character) {
        return character.isLetter() && character.script() == script;
    });
}

QStringList matches(const QString &pattern, const QString &text)
{
    QStringList found;
    for (const auto &match : QRegularExpression(pattern).globalMatch(text))
        found.append(match.captured());
    found.sort();
    return found;
}

} // namespace

/// The Arabic catalogue against the sources, against its own rules, and as it is built.
class TestCatalogue : public QObject
{
    Q_OBJECT

private:
    QString translationOf(const QString &source) const;

    QList<CatalogueMessage> m_messages;
    QTranslator m_built;

private Q_SLOTS:
    void initTestCase();
    void hasExactlyTheTextsOfTheSources();
    void hasExactlyTheThreeContexts();
    void everyTextIsFinished();
    void textsAreArabic();
    void linesRunFromRightToLeft();
    void placeholdersAndFilePatternsAreKept();
    void fullStopsAreKept();
    void commasAndQuestionMarksAreArabic();
    void oneTextHasOneTranslation();
    void theNoticeOfTheUnsentDraftIsRecognised();
    void languagesKeepTheirOwnNames();
    void builtCatalogueHasOurTexts();
    void builtCatalogueHasTheSupplementOfQt();
    void shortcutsReadFromLeftToRight();
    void builtCatalogueHasTheTextsOfQt_data();
    void builtCatalogueHasTheTextsOfQt();
};

void TestCatalogue::initTestCase()
{
    m_messages = readCatalogue(cataloguePath());
    QVERIFY(!m_messages.isEmpty());
    QVERIFY(m_built.load(QStringLiteral(TARN_BUILT_CATALOGUE)));
}

QString TestCatalogue::translationOf(const QString &source) const
{
    for (const CatalogueMessage &message : m_messages) {
        if (message.context == windowContext && message.source == source)
            return message.translation;
    }
    return {};
}

void TestCatalogue::hasExactlyTheTextsOfTheSources()
{
    const QTemporaryDir directory;
    const QString copy = directory.filePath(u"tarn_console_ar.ts"_s);
    QVERIFY(QFile::copy(cataloguePath(), copy));
    QVERIFY(QFile(copy).setPermissions(QFile::ReadOwner | QFile::WriteOwner));

    // Without heuristics, which fill in translations of similar texts. That for numbers is not
    // known to newer versions.
    QProcess lupdate;
    lupdate.start(QStringLiteral(TARN_LUPDATE),
                  {QStringLiteral(TARN_SOURCES), u"-disable-heuristic"_s, u"sametext"_s,
                   u"-disable-heuristic"_s, u"similartext"_s, u"-locations"_s, u"none"_s, u"-ts"_s,
                   copy});
    QVERIFY2(lupdate.waitForFinished(), qPrintable(lupdate.errorString()));
    QCOMPARE(lupdate.exitCode(), 0);

    // Texts that are gone stay in the copy as "vanished", new ones are "unfinished" there.
    const QList<CatalogueMessage> updated = readCatalogue(copy);
    for (const CatalogueMessage &message : updated)
        QVERIFY2(message.state.isEmpty(), qPrintable(describe(message)));
    QCOMPARE(updated, m_messages);
}

void TestCatalogue::hasExactlyTheThreeContexts()
{
    QSet<QString> contexts;
    for (const CatalogueMessage &message : m_messages)
        contexts.insert(message.context);
    QCOMPARE(contexts, QSet<QString>({u"QObject"_s, u"QTextEdit"_s, windowContext}));
}

void TestCatalogue::everyTextIsFinished()
{
    for (const CatalogueMessage &message : m_messages) {
        QVERIFY2(message.state.isEmpty(), qPrintable(describe(message)));
        QVERIFY2(!message.translation.trimmed().isEmpty(), qPrintable(describe(message)));
    }
}

void TestCatalogue::textsAreArabic()
{
    // The English halves of the texts in two languages, names, and the endings of source files.
    const QStringList notTranslated{u"/ Choose a source file."_s, u"/ Choose TARN."_s, u"TARN"_s,
                                    u".tarn"_s};
    for (const CatalogueMessage &message : m_messages) {
        if (message.source == "English"_L1)
            continue;
        QString text = message.translation;
        QVERIFY2(hasLetters(text, QChar::Script_Arabic), qPrintable(describe(message)));
        for (const QString &name : notTranslated)
            text.remove(name);
        QVERIFY2(!hasLetters(text, QChar::Script_Latin), qPrintable(describe(message)));
    }
}

void TestCatalogue::linesRunFromRightToLeft()
{
    // Labels take the direction of a line from its first letter.
    for (const CatalogueMessage &message : m_messages) {
        if (message.source != "English"_L1)
            QVERIFY2(message.translation.isRightToLeft(), qPrintable(describe(message)));
    }
}

void TestCatalogue::placeholdersAndFilePatternsAreKept()
{
    const QString pattern = uR"(%L?\d+|%n|\*[.\p{L}]*|;;|\n)"_s;
    for (const CatalogueMessage &message : m_messages) {
        QVERIFY2(matches(pattern, message.translation) == matches(pattern, message.source),
                 qPrintable(describe(message)));
    }
    QCOMPARE(matches(pattern, u"%1 %L2 (*.tarn *.ترن);;(*)"_s).size(), 6);
}

void TestCatalogue::fullStopsAreKept()
{
    const QChar leftToRightMark(0x200E);
    for (const CatalogueMessage &message : m_messages) {
        QString text = message.translation;
        text.remove(leftToRightMark);
        QVERIFY2(text.endsWith(u'.') == message.source.endsWith(u'.'),
                 qPrintable(describe(message)));
    }
}

void TestCatalogue::commasAndQuestionMarksAreArabic()
{
    // Not the comma in a number, nor what separates file filters.
    const QString latinMarks = uR"((?<!;);(?!;)|\?|,(?!\d))"_s;
    for (const CatalogueMessage &message : m_messages)
        QVERIFY2(matches(latinMarks, message.translation).isEmpty(), qPrintable(describe(message)));
    QCOMPARE(matches(latinMarks, u"a, b; c? 65,536 (*);;(*)"_s).size(), 3);
}

void TestCatalogue::oneTextHasOneTranslation()
{
    QMap<QString, QString> translations;
    for (const CatalogueMessage &message : m_messages) {
        const QString earlier = translations.value(message.source, message.translation);
        QVERIFY2(earlier == message.translation, qPrintable(describe(message)));
        translations.insert(message.source, message.translation);
    }
}

void TestCatalogue::theNoticeOfTheUnsentDraftIsRecognised()
{
    const QString notSent = translationOf(u"not sent"_s);
    QVERIFY(!notSent.isEmpty());
    QVERIFY(translationOf(u"Input closed. The draft was not sent."_s).contains(notSent));
    for (const CatalogueMessage &message : m_messages) {
        if (!message.source.contains("not sent"_L1))
            QVERIFY2(!message.translation.contains(notSent), qPrintable(describe(message)));
    }
}

void TestCatalogue::languagesKeepTheirOwnNames()
{
    QCOMPARE(translationOf(u"العربية"_s), u"العربية"_s);
    QCOMPARE(translationOf(u"English"_s), u"English"_s);
}

void TestCatalogue::builtCatalogueHasOurTexts()
{
    for (const CatalogueMessage &message : m_messages) {
        const QByteArray comment = message.comment.toUtf8();
        QCOMPARE(m_built.translate(message.context.toUtf8().constData(),
                                   message.source.toUtf8().constData(), comment.constData()),
                 message.translation);
    }
}

void TestCatalogue::builtCatalogueHasTheSupplementOfQt()
{
    const QList<CatalogueMessage> supplement =
        readCatalogue(QStringLiteral(TARN_CATALOGUE_DIR) + u"/qt_supplement_ar.ts"_s);
    QVERIFY(!supplement.isEmpty());
    for (const CatalogueMessage &message : supplement) {
        QVERIFY2(message.state.isEmpty(), qPrintable(describe(message)));
        QVERIFY2(hasLetters(message.translation, QChar::Script_Arabic)
                     || message.context == "QShortcut"_L1,
                 qPrintable(describe(message)));
        const QByteArray comment = message.comment.toUtf8();
        QCOMPARE(m_built.translate(message.context.toUtf8().constData(),
                                   message.source.toUtf8().constData(), comment.constData()),
                 message.translation);
    }
}

void TestCatalogue::shortcutsReadFromLeftToRight()
{
    // Without an isolate, "Ctrl++" would be drawn as "++Ctrl" in a menu that runs right to left.
    const QChar leftToRightIsolate(0x2066);
    QCOMPARE(m_built.translate("QShortcut", "Ctrl"), QString(leftToRightIsolate + u"Ctrl"_s));
}

void TestCatalogue::builtCatalogueHasTheTextsOfQt_data()
{
    QTest::addColumn<QByteArray>("context");
    QTest::addColumn<QByteArray>("source");
    const QList<std::pair<QByteArray, QByteArrayList>> texts{
        {"QPlatformTheme", {"OK", "Cancel"}},
        {"QDialogButtonBox", {"OK"}},
        {"QLineEdit", {"&Undo", "&Redo", "Cu&t", "&Copy", "&Paste", "Delete", "Select All"}},
        {"QWidgetTextControl",
         {"&Undo", "&Redo", "Cu&t", "&Copy", "&Paste", "Delete", "Select All"}},
        {"QAbstractSpinBox", {"&Select All", "&Step up", "Step &down"}},
        {"QFileDialog", {"Look in:", "File &name:", "Files of type:", "&Open", "Back", "Sidebar"}},
        {"QFileSystemModel", {"Name", "Size", "Type", "Date Modified", "Computer"}},
        {"QScrollBar", {"Scroll here", "Top", "Bottom"}},
    };
    for (const auto &[context, sources] : texts) {
        for (const QByteArray &source : sources)
            QTest::addRow("%s %s", context.constData(), source.constData()) << context << source;
    }
}

void TestCatalogue::builtCatalogueHasTheTextsOfQt()
{
    QFETCH(QByteArray, context);
    QFETCH(QByteArray, source);
    const QString translation = m_built.translate(context.constData(), source.constData());
    QVERIFY2(hasLetters(translation, QChar::Script_Arabic), qPrintable(translation));
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestCatalogue))
#include "tst_catalogue.moc"
