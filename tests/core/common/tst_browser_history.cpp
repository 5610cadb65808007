// The browser history: appending after going back, the menu ranges, the enabling rules,
// Clear and the display names.

#include <QTest>

#include "common/BrowserHistory.h"

namespace {

QString Join(const QList<qint64>& indexes) {
    QStringList parts;
    for (const qint64 i : indexes) {
        parts << QString::number(i);
    }
    return parts.join(QLatin1Char(','));
}

}  // namespace

class TestBrowserHistory : public QObject {
    Q_OBJECT

private slots:
    void script_data();
    void script();
};

// `ops`: "+path" adds, "<" Back, ">" Forward, "=N" goes to item N, "c" clears, "*N" adds the
// items "/n/0" to "/n/N-1". `enabled`: B, F, C for Back, Forward, Clear History, "-" for none.
void TestBrowserHistory::script_data() {
    QTest::addColumn<QString>("ops");
    QTest::addColumn<int>("steps");
    QTest::addColumn<QString>("names");
    QTest::addColumn<qint64>("current");
    QTest::addColumn<QString>("went");
    QTest::addColumn<QString>("back");
    QTest::addColumn<QString>("forward");
    QTest::addColumn<QString>("enabled");
    QTest::addColumn<QString>("previous");
    QTest::addColumn<QString>("next");

    QTest::newRow("new selection after going back keeps the items ahead")
        << "+/A +/B +/C < < +/D" << 5 << "A,B,C,D" << qint64(3) << "/A"
        << "2,1,0"
        << ""
        << "BC"
        << "C"
        << "";
    QTest::newRow("back from the appended item")
        << "+/A +/B +/C < < +/D <" << 5 << "A,B,C,D" << qint64(2) << "/C"
        << "1,0"
        << "3"
        << "BFC"
        << "B"
        << "D";
    QTest::newRow("thirty items, five steps back") << "*30" << 5 << "" << qint64(29) << ""
                                                   << "28,27,26,25,24"
                                                   << ""
                                                   << "BC"
                                                   << "28"
                                                   << "";
    QTest::newRow("go to an item near the start") << "*30 =2" << 5 << "" << qint64(2) << "/n/2"
                                                  << "1,0"
                                                  << "3,4,5,6,7"
                                                  << "BFC"
                                                  << "1"
                                                  << "3";
    QTest::newRow("forward stops at the last item")
        << "*30 =26 >" << 20 << "" << qint64(27) << "/n/27"
        << "26,25,24,23,22,21,20,19,18,"
           "17,16,15,14,13,12,11,10,9,8,7"
        << "28,29"
        << "BFC"
        << "26"
        << "28";
    QTest::newRow("one item: nothing enabled") << "+/A" << 5 << "A" << qint64(0) << ""
                                               << ""
                                               << ""
                                               << "-"
                                               << ""
                                               << "";
    QTest::newRow("two items, first current") << "+/A +/B <" << 5 << "A,B" << qint64(0) << "/A"
                                              << ""
                                              << "1"
                                              << "FC"
                                              << ""
                                              << "B";
    QTest::newRow("clear empties the list") << "+/A +/B c" << 5 << "" << qint64(-1) << ""
                                            << ""
                                            << ""
                                            << "-"
                                            << ""
                                            << "";
    QTest::newRow("a selection after clear starts again")
        << "+/A +/B c +/C" << 5 << "C" << qint64(0) << ""
        << ""
        << ""
        << "-"
        << ""
        << "";
    QTest::newRow("display names") << "+/ +/home/u/docs/ +bare +/home/u/a.zip/x.txt" << 5
                                   << "/,docs,bare,x.txt" << qint64(3) << ""
                                   << "2,1,0"
                                   << ""
                                   << "BC"
                                   << "bare"
                                   << "";
}

void TestBrowserHistory::script() {
    QFETCH(QString, ops);
    QFETCH(int, steps);
    CBrowserHistory history(steps);
    QString went;
    for (const QString& op : ops.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        const QString arg = op.mid(1);
        switch (op.at(0).toLatin1()) {
            case '+':
                history.Add(arg);
                break;
            case '<':
                QVERIFY(history.CanGoBack());
                went = history.Back();
                break;
            case '>':
                QVERIFY(history.CanGoForward());
                went = history.Forward();
                break;
            case '=':
                went = history.GoTo(arg.toLongLong());
                break;
            case 'c':
                QVERIFY(history.CanClear());
                history.Clear();
                break;
            case '*':
                for (int i = 0; i < arg.toInt(); ++i) {
                    history.Add(QStringLiteral("/n/%1").arg(i));
                }
                break;
        }
    }
    QStringList names;
    for (qint64 i = 0; i < history.Count(); ++i) {
        QCOMPARE(history.At(i).index, i);
        names << history.At(i).displayName;
    }
    QString enabled = QString(history.CanGoBack() ? "B" : "") +
                      (history.CanGoForward() ? "F" : "") + (history.CanClear() ? "C" : "");
    if (enabled.isEmpty()) {
        enabled = QStringLiteral("-");
    }
    if (!ops.startsWith(QLatin1Char('*'))) {
        QTEST(names.join(QLatin1Char(',')), "names");
    }
    QTEST(history.CurrentIndex(), "current");
    QTEST(went, "went");
    QTEST(Join(history.BackMenuIndexes()), "back");
    QTEST(Join(history.ForwardMenuIndexes()), "forward");
    QTEST(enabled, "enabled");
    QTEST(history.PreviousName(), "previous");
    QTEST(history.NextName(), "next");
}

QTEST_APPLESS_MAIN(TestBrowserHistory)
#include "tst_browser_history.moc"
