// The browser history: appending after going back, the menu ranges, the enabling rules,
// Clear and the display names.

#include <QTest>

#include "common/BrowserHistory.h"

class TestBrowserHistory : public QObject {
    Q_OBJECT

private slots:
    void script_data();
    void script();
};

// `ops`: "+path" adds, "<" Back, ">" Forward, "=N" goes to item N, "c" clears, "*N" adds the
// items "/N/0" to "/N/N-1". `state`: the display names (left out after "*N"), the current
// index, the path of the last move, the Back and Forward menus, what is enabled (Back,
// Forward, Clear History), the previous and next names.
void TestBrowserHistory::script_data() {
    QTest::addColumn<QString>("ops");
    QTest::addColumn<int>("steps");
    QTest::addColumn<QString>("state");
    QTest::newRow("back after a selection made after going back")
        << "+/A +/B +/C < < +/D <" << 5 << "A,B,C,D 2 /C 1,0 3 BFC B D";
    QTest::newRow("thirty items, five steps") << "*30" << 5 << "29 - 28,27,26,25,24 - BC 28 -";
    QTest::newRow("go to an item near the start")
        << "*30 =2" << 5 << "2 /30/2 1,0 3,4,5,6,7 BFC 1 3";
    QTest::newRow("one item: nothing enabled") << "+/A" << 5 << "A 0 - - - - - -";
    QTest::newRow("two items, the first current") << "+/A +/B <" << 5 << "A,B 0 /A - 1 FC - B";
    QTest::newRow("clear") << "+/A +/B c" << 5 << "- -1 - - - - - -";
    QTest::newRow("display names") << "+/ +/home/u/docs/ +bare +/home/u/a.zip/x.txt" << 5
                                   << "/,docs,bare,x.txt 3 - 2,1,0 - BC bare -";
}

void TestBrowserHistory::script() {
    QFETCH(QString, ops);
    QFETCH(int, steps);
    CBrowserHistory history(steps);
    QString went;
    for (const QString& op : ops.split(QLatin1Char(' '))) {
        const QString arg = op.mid(1);
        if (op[0] == QLatin1Char('+')) {
            history.Add(arg);
        } else if (op[0] == QLatin1Char('*')) {
            for (int i = 0; i < arg.toInt(); ++i) {
                history.Add(QStringLiteral("/%1/%2").arg(arg).arg(i));
            }
        } else if (op == QLatin1String("c")) {
            QVERIFY(history.CanClear());
            history.Clear();
        } else {
            went = op == QLatin1String("<")   ? history.Back()
                   : op == QLatin1String(">") ? history.Forward()
                                              : history.GoTo(arg.toLongLong());
        }
    }
    const auto list = [](const QStringList& parts) {
        const QString joined = parts.join(QLatin1Char(','));
        return joined.isEmpty() ? QStringLiteral("-") : joined;
    };
    const auto numbers = [&](const QList<qint64>& indexes) {
        QStringList parts;
        for (const qint64 i : indexes)
            parts << QString::number(i);
        return list(parts);
    };
    QStringList names;
    for (qint64 i = 0; i < history.Count(); ++i) {
        QCOMPARE(history.At(i).index, i);
        names << history.At(i).displayName;
    }
    QStringList enabled;
    enabled << (history.CanGoBack() ? "B" : "") << (history.CanGoForward() ? "F" : "")
            << (history.CanClear() ? "C" : "");
    QStringList state{ops.startsWith(QLatin1Char('*')) ? QString() : list(names),
                      QString::number(history.CurrentIndex()),
                      list({went}),
                      numbers(history.BackMenuIndexes()),
                      numbers(history.ForwardMenuIndexes()),
                      list({enabled.join(QString())}),
                      list({history.PreviousName()}),
                      list({history.NextName()})};
    state.removeAll(QString());
    QTEST(state.join(QLatin1Char(' ')), "state");
}

QTEST_APPLESS_MAIN(TestBrowserHistory)
#include "tst_browser_history.moc"
