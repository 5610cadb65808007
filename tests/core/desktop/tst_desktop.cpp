// Desktop integration: handing an archive to the mail program, and archive types' default
// application in a private XDG tree, checked with the desktop's own clients where present.

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "desktop/CSendFileTo.h"

class TestDesktop : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    QByteArray m_path;

    // An executable script `name` in `folder` with the given body.
    static bool WriteScript(const QString& folder, const QString& name, const QByteArray& body) {
        QFile file(folder + QLatin1Char('/') + name);
        if (!file.open(QIODevice::WriteOnly)) {
            return false;
        }
        file.write("#!/bin/sh\n" + body);
        file.close();
        return file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

private slots:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        m_path = qgetenv("PATH");
    }
    void cleanup() { qputenv("PATH", m_path); }

    void sendFileTo_data() {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("subject");
        QTest::addColumn<QStringList>("expected");  // relative to the test folder: "@/"
        QTest::newRow("spaces") << "@/my files/a b.zip" << QString()
                                << QStringList{"--attach", "@/my files/a b.zip"};
        QTest::newRow("bare name")
            << "plain.zip" << QString() << QStringList{"--attach", "@/plain.zip"};
        QTest::newRow("dash first") << "-x.zip" << QString() << QStringList{"--attach", "@/-x.zip"};
        QTest::newRow("subject") << "@/s.7z"
                                 << "Holiday"
                                 << QStringList{"--subject", "Holiday", "--attach", "@/s.7z"};
    }
    void sendFileTo() {
        QFETCH(QString, path);
        QFETCH(QString, subject);
        QFETCH(QStringList, expected);
        const QString root = m_dir.path() + QLatin1String("/mail-") + QTest::currentDataTag();
        const QString bin = root + QLatin1String("/bin");
        QVERIFY(QDir().mkpath(bin));
        const QString record = root + QLatin1String("/args");
        QVERIFY(WriteScript(bin, QStringLiteral("xdg-email"),
                            "printf '%s\\n' \"$@\" > \"$0.tmp\" && /bin/mv \"$0.tmp\" '" +
                                QFile::encodeName(record) + "'\n"));
        qputenv("PATH", QFile::encodeName(bin));
        const QString previous = QDir::currentPath();
        QVERIFY(QDir::setCurrent(root));
        const bool sent = CSendFileTo().Send(path.replace(QLatin1String("@"), root), subject);
        QDir::setCurrent(previous);
        QVERIFY(sent);
        QTRY_VERIFY(QFile::exists(record));
        QFile file(record);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
        lines.removeLast();
        expected.replaceInStrings(QStringLiteral("@"), root);
        QCOMPARE(lines, expected);
    }

    void sendFileToRefuses() {
        const QString bin = m_dir.path() + QLatin1String("/refuse");
        QVERIFY(QDir().mkpath(bin));
        QVERIFY(WriteScript(bin, QStringLiteral("xdg-email"), "exit 0\n"));
        qputenv("PATH", QFile::encodeName(bin));
        QVERIFY(!CSendFileTo().Send(QString()));
        // The mail program missing: a PATH without it, and an entry of that name that is
        // not executable.
        qputenv("PATH", QFile::encodeName(m_dir.path()));
        QVERIFY(!CSendFileTo().Send(bin + QLatin1String("/a.zip")));
        QVERIFY(QFile::setPermissions(bin + QLatin1String("/xdg-email"), QFile::ReadOwner));
        qputenv("PATH", QFile::encodeName(bin));
        QVERIFY(!CSendFileTo().Send(bin + QLatin1String("/a.zip")));
    }
};

QTEST_GUILESS_MAIN(TestDesktop)
#include "tst_desktop.moc"
