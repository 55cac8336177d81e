#include "app/qtremarks.h"
#include "support/testregistry.h"

#include <QDebug>
#include <QStringList>
#include <QTest>

using namespace Qt::StringLiterals;

namespace tarn::console {

namespace {

QStringList messages;

void collect(QtMsgType, const QMessageLogContext &, const QString &message)
{
    messages.append(message);
}

/// As Qt puts it.
void remarkOnTheScale()
{
    qWarning() << "The cached device pixel ratio value was stale on window expose. "
               << "Please file a QTBUG which explains how to reproduce.";
}

} // namespace

/// What Qt says of itself does not reach the terminal, and everything else does.
class TestQtRemarks : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { qInstallMessageHandler(m_before); }

    void aRemarkOnTheScaleOfAWindowIsNotPassedOn();
    void everythingElseIsPassedOn();
    void askingTwiceChangesNothing();

private:
    QtMessageHandler m_before = nullptr;
};

void TestQtRemarks::init()
{
    messages.clear();
    m_before = qInstallMessageHandler(collect);
    muteQtsRemarksOnItself();
}

void TestQtRemarks::aRemarkOnTheScaleOfAWindowIsNotPassedOn()
{
    remarkOnTheScale();
    QCOMPARE(messages, QStringList());
}

void TestQtRemarks::everythingElseIsPassedOn()
{
    const QString remark = u"The cached device pixel ratio value was stale on window x"_s;
    qWarning() << "Qt has a warning";
    qWarning("%s", qPrintable(u"Not at the start: "_s + remark));
    qCritical("%s", qPrintable(remark));
    QCOMPARE(messages,
             QStringList({u"Qt has a warning"_s, u"Not at the start: "_s + remark, remark}));
}

void TestQtRemarks::askingTwiceChangesNothing()
{
    muteQtsRemarksOnItself();
    remarkOnTheScale();
    qWarning("once");
    QCOMPARE(messages, QStringList(u"once"_s));
}

} // namespace tarn::console

TARN_TEST(QTEST_GUILESS_MAIN(tarn::console::TestQtRemarks))
#include "tst_qtremarks.moc"
