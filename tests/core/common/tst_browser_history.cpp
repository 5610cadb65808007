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

// `row`: the steps, "=>", the state after them. Steps: "+path" adds, "<" Back, ">" Forward, "=N"
// goes to item N, "c" clears, "*N" adds the items "/N/0" to "/N/N-1". State: the display names (up
// to 29 items), the current index, the path of the last move, the Back and Forward menus, what is
// enabled (Back, Forward, Clear History), the previous and next names.
void TestBrowserHistory::script_data() {
    QTest::addColumn<QString>("row");
    QTest::newRow("select after back, back")
        << "+/A +/B +/C < < +/D < => A,B,C,D|2|/C|1,0|3|BFC|B|D";
    QTest::newRow("thirty items, five steps") << "*30 => |29||28,27,26,25,24||BC|28|";
    QTest::newRow("go to near the start") << "*30 =2 => |2|/30/2|1,0|3,4,5,6,7|BFC|1|3";
    QTest::newRow("one item") << "+/A => A|0||||||";
    QTest::newRow("two items, first current") << "+/A +/B < => A,B|0|/A||1|FC||B";
    QTest::newRow("clear") << "+/A +/B c => |-1||||||";
    QTest::newRow("names")
        << "+/ +/u/docs/ +bare +/u/a.zip/x.txt => /,docs,bare,x.txt|3||2,1,0||BC|bare|";
}

void TestBrowserHistory::script() {
    QFETCH(QString, row);
    const QStringList parts = row.split(QStringLiteral(" => "));
    CBrowserHistory history;  // five steps shown
    QString went;
    for (const QString& op : parts[0].split(QLatin1Char(' '))) {
        const QString arg = op.mid(1);
        for (int i = 0; op[0] == QLatin1Char('*') && i < arg.toInt(); ++i) {
            history.Add(QStringLiteral("/%1/%2").arg(arg).arg(i));
        }
        if (op[0] == QLatin1Char('+')) {
            history.Add(arg);
        } else if (op == QLatin1String("c")) {
            history.Clear();
        } else if (op[0] == QLatin1Char('<') || op[0] == QLatin1Char('>') ||
                   op[0] == QLatin1Char('=')) {
            went = op == QLatin1String("<")   ? history.Back()
                   : op == QLatin1String(">") ? history.Forward()
                                              : history.GoTo(arg.toLongLong());
        }
    }
    QStringList names, back, forward;
    for (qint64 i = 0; i < history.Count() && history.Count() < 30; ++i) {
        names << history.At(i).displayName;
    }
    for (const qint64 i : history.BackMenuIndexes())
        back << QString::number(i);
    for (const qint64 i : history.ForwardMenuIndexes())
        forward << QString::number(i);
    const QString enabled = QString(history.CanGoBack() ? "B" : "") +
                            (history.CanGoForward() ? "F" : "") + (history.CanClear() ? "C" : "");
    const QStringList state{names.join(','),
                            QString::number(history.CurrentIndex()),
                            went,
                            back.join(','),
                            forward.join(','),
                            enabled,
                            history.PreviousName(),
                            history.NextName()};
    QCOMPARE(state.join('|'), parts[1]);
}

QTEST_APPLESS_MAIN(TestBrowserHistory)
#include "tst_browser_history.moc"
