#include "support/testregistry.h"
#include "window/statuslabel.h"

#include <QHelpEvent>
#include <QTest>
#include <QToolTip>

using namespace Qt::StringLiterals;

namespace tarn::console {

/// A status by itself, without a window.
class TestStatusLabel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { QToolTip::hideText(); }

    void emptyIsAsHighAsALine();
    void shortStatusHasNoTip();
    void cutStatusTellsAllInItsTip();
    void tipOfAMessageIsWhatItNames();
    void remarkIsTheTipOfAShortStatus();
    void remarkIsTheDescription();

private:
    QString tip();

    StatusLabel m_label;
};

void TestStatusLabel::init()
{
    m_label.showMessage({});
    m_label.setRemark({});
    m_label.setMaximumLines(1);
    m_label.resize(400, m_label.heightForWidth(400));
    m_label.show();
    QVERIFY(QTest::qWaitForWindowExposed(&m_label));
}

/// What is shown when the pointer rests on the label.
QString TestStatusLabel::tip()
{
    const QPoint middle = m_label.rect().center();
    QHelpEvent rest(QEvent::ToolTip, middle, m_label.mapToGlobal(middle));
    QCoreApplication::sendEvent(&m_label, &rest);
    return QToolTip::text();
}

void TestStatusLabel::emptyIsAsHighAsALine()
{
    const int empty = m_label.heightForWidth(400);
    QVERIFY(empty > 0);
    QCOMPARE(empty, m_label.lineHeight());
    m_label.showMessage({u"Running"_s});
    QCOMPARE(m_label.heightForWidth(400), empty);
    QCOMPARE(m_label.minimumSizeHint(), QSize(0, empty));
}

void TestStatusLabel::shortStatusHasNoTip()
{
    m_label.showMessage({u"Running"_s});
    QCOMPARE(tip(), QString());
    m_label.showMessage({u"Returned status %1"_s, u"3"_s});
    QCOMPARE(tip(), QString());
}

void TestStatusLabel::cutStatusTellsAllInItsTip()
{
    const QString status = u"word "_s.repeated(60) + u"end"_s;
    m_label.setText(status);
    QVERIFY(tip().contains(u"word end"_s));
    m_label.setMaximumLines(m_label.linesForWidth(m_label.width()));
    QToolTip::hideText();
    QTRY_VERIFY(!QToolTip::isVisible());
    QCOMPARE(tip(), QString());
}

void TestStatusLabel::tipOfAMessageIsWhatItNames()
{
    const QString path = u"/srv"_s + u"/folder"_s.repeated(60) + u"/file.tarn"_s;
    m_label.showMessage({u"The source file cannot be read: %1"_s, path});
    QVERIFY(tip().contains(u"file.tarn"_s));
    QVERIFY(!tip().contains(u"cannot be read"_s));
}

void TestStatusLabel::remarkIsTheTipOfAShortStatus()
{
    m_label.showMessage({u"Program stopped by user"_s});
    m_label.setRemark(u"Output capture limit reached"_s);
    QCOMPARE(tip(), u"Output capture limit reached"_s);
    m_label.setRemark({});
    QToolTip::hideText();
    QTRY_VERIFY(!QToolTip::isVisible());
    QCOMPARE(tip(), QString());
}

void TestStatusLabel::remarkIsTheDescription()
{
    m_label.setRemark(u"Output capture limit reached"_s);
    QCOMPARE(m_label.accessibleDescription(), u"Output capture limit reached"_s);
    m_label.setRemark({});
    QCOMPARE(m_label.accessibleDescription(), QString());
}

} // namespace tarn::console

TARN_TEST(QTEST_MAIN(tarn::console::TestStatusLabel))
#include "tst_statuslabel.moc"
