// File operations of the File Browser: copy, rename, delete, new folder, the texts that
// describe items, and reading folders.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QTemporaryDir>
#include <QTest>
#include <cerrno>
#include <ctime>

#include <functional>

#include "TestSupport.h"
#include "archive/ArchiveEntry.h"
#include "fileops/CFileCopier.h"
#include "fileops/FileDelete.h"
#include "fileops/FileDescriptions.h"
#include "fileops/FileRename.h"
#include "fileops/FolderReader.h"
#include "fileops/NewFolder.h"
#include "platform/FileSystem.h"

using namespace vz::fileops;
using vz::platform::FileFacts;
using vz::platform::ReadFacts;

namespace {

constexpr int kBig = 20 * 1024 * 1024;  // more than two blocks of the copy

// Answers the copy's questions from a table keyed by file name, and stops on request.
class CScriptedObserver : public IOperationObserver {
public:
    QHash<QString, ReplaceAnswer> answers;  // by file name; Yes when not listed
    QStringList asked;                      // names, in the order asked
    QList<OverwriteQuestion> questions;
    int polls = 0;
    int stopAtPoll = 0;  // StopRequested says true at this poll (0: never)
    std::function<void(const QString&)> onProgress;

    void Progress(int percent, const QString& name) override {
        QVERIFY(percent >= 0 && percent <= 100);
        if (onProgress)
            onProgress(name);
    }
    bool StopRequested() override { return ++polls == stopAtPoll; }
    ReplaceAnswer AskOverwrite(const OverwriteQuestion& q) override {
        const QString name = vz::platform::FileNameOf(q.existing.path);
        asked << name;
        questions << q;
        return answers.value(name, ReplaceAnswer::Yes);
    }
    bool AskPassword(const QString&, const QString&, bool, QString*) override { return false; }
    QStringList reports;
    void Report(const QString& message) override { reports << message; }
};

class CRecordingListener : public IItemListener {
public:
    QStringList added;
    void ItemAdded(const QString& path) override { added << path; }
};

void SetMTime(const QString& path, qint64 seconds, long nanoseconds = 0) {
    const struct timespec times[2] = {{0, UTIME_OMIT}, {seconds, nanoseconds}};
    QCOMPARE(utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, AT_SYMLINK_NOFOLLOW),
             0);
}

struct stat LStat(const QString& path) {
    struct stat st {};
    lstat(QFile::encodeName(path).constData(), &st);
    return st;
}

QStringList Leftovers(const QString& root) {
    return vzt::ListTree(root).filter(QLatin1String(".vz-"));
}

// A small tmpfs for the duration of a test, when this process may mount one.
struct CTmpfs {
    QString path;
    bool mounted = false;
    CTmpfs(const QString& where, const QString& options) : path(where) {
        QDir().mkpath(path);
        mounted =
            geteuid() == 0 && vzt::Run("mount", {"-t", "tmpfs", "-o", options, "tmpfs", path}).Ok();
    }
    ~CTmpfs() {
        if (mounted)
            vzt::Run("umount", {path});
    }
};

}  // namespace

class TestFileOps : public QObject {
    Q_OBJECT

private:
    QTemporaryDir m_dir;
    int m_case = 0;
    QString Fresh() {
        const QString dir = m_dir.path() + QStringLiteral("/c%1").arg(++m_case);
        QDir().mkpath(dir);
        return dir;
    }

private slots:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        qputenv("TZ", "UTC");
        tzset();
    }

    // ---- copy ----

    void copyFolderKeepsContentModeTimesAndLinks() {
        const QString root = Fresh();
        const QString src = root + "/src";
        QVERIFY(vzt::MakeTree(src, {{"empty.txt", ""},
                                    {"small.txt", "hello"},
                                    {"big.bin", vzt::RandomBytes(kBig, 3)},
                                    {"tool.sh", "#!/bin/sh\n"},
                                    {"read-only.txt", "ro"},
                                    {".hidden", "h"},
                                    {"sub/inner.txt", "inner"},
                                    {"sub/deeper/leaf.dat", vzt::RandomBytes(5000, 4)},
                                    {"locked/in.txt", "in"},
                                    {"empty-folder/", ""},
                                    {"ünïcode name.txt", "u"}}));
        QCOMPARE(chmod(QFile::encodeName(src + "/tool.sh").constData(), 0750), 0);
        QCOMPARE(chmod(QFile::encodeName(src + "/read-only.txt").constData(), 0444), 0);
        for (const char* link :
             {"sub/inner.txt rel-link", "sub folder-link", "/nonexistent/x dangling"})
            QVERIFY(QFile::link(QString(link).section(' ', 0, 0),
                                src + '/' + QString(link).section(' ', 1)));
        SetMTime(src + "/small.txt", 981173106, 123456789);
        SetMTime(src + "/big.bin", 1000000000);
        SetMTime(src + "/sub/deeper", 1100000000);
        QCOMPARE(chmod(QFile::encodeName(src + "/locked").constData(), 0555), 0);

        const QString target = root + "/target";
        QDir().mkpath(target);
        CScriptedObserver observer;
        CRecordingListener listener;
        CReplaceAllFlags flags;
        CFileCopier copier(observer, flags, &listener);
        const CopyResult result = copier.CopyInto(src, target);
        QVERIFY2(result.Ok(), qPrintable(DescribeCopyFailure(result)));
        QCOMPARE(result.filesCopied, 13);  // ten files and three links
        QVERIFY(observer.asked.isEmpty());

        const QString dst = target + "/src";
        QCOMPARE(vzt::ListTree(dst), vzt::ListTree(src));
        for (const QString& rel : vzt::ListTree(src)) {
            const QString a = src + '/' + rel;
            const QString b = dst + '/' + rel;
            const struct stat sa = LStat(a);
            const struct stat sb = LStat(b);
            QCOMPARE(sb.st_mode, sa.st_mode);
            if (S_ISLNK(sa.st_mode)) {
                QCOMPARE(vzt::Run("readlink", {b}).output, vzt::Run("readlink", {a}).output);
                continue;
            }
            QCOMPARE(sb.st_mtim.tv_sec, sa.st_mtim.tv_sec);
            if (S_ISREG(sa.st_mode)) {
                QCOMPARE(sb.st_mtim.tv_nsec, sa.st_mtim.tv_nsec);
                QVERIFY2(vzt::ReadAll(a) == vzt::ReadAll(b), qPrintable(rel));
            }
        }
        // Every folder created and every file copied was told, the top folder first.
        QCOMPARE(listener.added.size(), 13 + 5);
        QCOMPARE(listener.added.first(), dst);
        QCOMPARE(copier.LastAddedPath(), listener.added.last());
        QVERIFY(Leftovers(target).isEmpty());
        // The big file was copied in several blocks, with Stop polled between them.
        QVERIFY(observer.polls >= 13 + 2);
        // A link to a folder given as the item itself is copied as a link too.
        QVERIFY(copier.CopyInto(src + "/folder-link", target).Ok());
        QVERIFY(S_ISLNK(LStat(target + "/folder-link").st_mode));
        for (const QString& locked : {dst + "/locked", src + "/locked"})
            QCOMPARE(chmod(QFile::encodeName(locked).constData(), 0755), 0);
    }

    void replaceAnswersAcrossOneDrop() {
        const QString root = Fresh();
        const QString src = root + "/drop";
        const QString dst = root + "/target/drop";
        QMap<QString, QByteArray> files;
        for (const char* n : {"ro1", "ro2", "ro3", ".hid1", ".hid2", "plain1", "plain2", "new"})
            files.insert(QString::fromLatin1(n), QByteArray("new ") + n);
        QVERIFY(vzt::MakeTree(src, files));
        files.remove("new");
        for (auto it = files.begin(); it != files.end(); ++it)
            it.value() = "old";
        QVERIFY(vzt::MakeTree(dst, files));
        for (const char* n : {"ro1", "ro2", "ro3"})
            QCOMPARE(chmod(QFile::encodeName(dst + "/" + n).constData(), 0444), 0);

        CScriptedObserver observer;
        for (const char* n : {"ro1", "ro2", "ro3"})
            observer.answers.insert(n, ReplaceAnswer::YesToAll);
        observer.answers.insert("plain1", ReplaceAnswer::No);  // the others are answered Yes
        CReplaceAllFlags flags;
        const CopyResult r = CFileCopier(observer, flags).CopyInto(src, root + "/target");
        QVERIFY(r.Ok());
        QCOMPARE(r.filesSkipped, 1);
        QCOMPARE(r.filesCopied, 7);

        // One read-only question covers the other read-only files, not the hidden ones.
        QCOMPARE(observer.asked.filter("ro").size(), 1);
        QCOMPARE(observer.asked.size(), 5);
        QCOMPARE(observer.questions.at(observer.asked.indexOf(QRegularExpression("ro.")))
                     .existing.attributes,
                 quint32(kDosReadOnly));
        // "No" kept one file; every other one is replaced, the read-only ones included.
        QCOMPARE(vzt::ReadAll(dst + "/plain1"), QByteArray("old"));
        for (const char* n : {"ro1", "ro2", "ro3", ".hid1", ".hid2", "plain2", "new"})
            QCOMPARE(vzt::ReadAll(dst + '/' + QLatin1String(n)), QByteArray("new ") + n);
    }

    void replaceClassOrder() {
        // System comes before read-only, and read-only before hidden.
        QCOMPARE(int(ClassifyReplace(kDosHidden)), int(ReplaceClass::Hidden));
        QCOMPARE(int(ClassifyReplace(kDosReadOnly | kDosHidden)), int(ReplaceClass::ReadOnly));
        QCOMPARE(int(ClassifyReplace(kDosSystem | kDosReadOnly)), int(ReplaceClass::System));
    }

    void cancelEndsTheWholeCopy() {
        const QString root = Fresh();
        QVERIFY(vzt::MakeTree(root, {{"src/c1", "new"},
                                     {"src/c2", "new"},
                                     {"src/f", "new"},
                                     {"target/src/c1", "old"},
                                     {"target/src/c2", "old"}}));
        CScriptedObserver observer;
        observer.answers.insert("c1", ReplaceAnswer::Cancel);
        observer.answers.insert("c2", ReplaceAnswer::Cancel);
        CReplaceAllFlags flags;
        const CopyResult r = CFileCopier(observer, flags).CopyInto(root + "/src", root + "/target");
        QCOMPARE(r.outcome, CopyOutcome::Cancelled);
        QCOMPARE(observer.asked.size(), 1);  // nothing is asked after Cancel
        QCOMPARE(vzt::ReadAll(root + "/target/src/c1"), QByteArray("old"));
        QCOMPARE(vzt::ReadAll(root + "/target/src/c2"), QByteArray("old"));
    }

    void stopLeavesNoPartialFileAndKeepsTheOldOne() {
        const QString root = Fresh();
        QVERIFY(vzt::MakeTree(root, {{"src/big.bin", vzt::RandomBytes(kBig, 7)},
                                     {"src/done.txt", "done"},
                                     {"target/big.bin", "the old contents"}}));
        CScriptedObserver observer;
        CReplaceAllFlags flags;
        CRecordingListener listener;
        CFileCopier copier(observer, flags, &listener);
        QVERIFY(copier.CopyInto(root + "/src/done.txt", root + "/target").Ok());
        observer.stopAtPoll = observer.polls + 1;  // Stop, answered Yes, in the first block
        const CopyResult r = copier.CopyInto(root + "/src/big.bin", root + "/target");
        QCOMPARE(r.outcome, CopyOutcome::Cancelled);
        QCOMPARE(observer.asked, QStringList{"big.bin"});
        QCOMPARE(vzt::ReadAll(root + "/target/big.bin"), QByteArray("the old contents"));
        QCOMPARE(vzt::ReadAll(root + "/target/done.txt"), QByteArray("done"));
        QCOMPARE(vzt::ListTree(root + "/target"), (QStringList{"big.bin", "done.txt"}));
        QCOMPARE(listener.added, QStringList{root + "/target/done.txt"});

        // A new file stopped half-way leaves nothing at all.
        observer.polls = 0;
        observer.stopAtPoll = 1;
        QCOMPARE(copier.CopyInto(root + "/src/big.bin", root).outcome, CopyOutcome::Cancelled);
        QVERIFY(!QFileInfo::exists(root + "/big.bin"));
        QVERIFY(Leftovers(root).isEmpty());
    }

    void readOnlyTargetFolderFails() {
        const QString root = Fresh();
        QVERIFY(vzt::MakeTree(root, {{"src/a.txt", "a"}, {"src/sub/b.txt", "b"}}));
        const QString target = root + "/ro";
        CTmpfs mount(target, "ro,size=1m");
        if (!mount.mounted) {
            if (geteuid() == 0)
                QSKIP("cannot mount a read-only file system here");
            QCOMPARE(chmod(QFile::encodeName(target).constData(), 0555), 0);
        }
        CScriptedObserver observer;
        CReplaceAllFlags flags;
        CFileCopier copier(observer, flags);
        for (const char* item : {"/src/a.txt", "/src/sub", "/src"}) {
            const CopyResult r = copier.CopyInto(root + QLatin1String(item), target);
            QCOMPARE(r.outcome, CopyOutcome::Failed);
            QCOMPARE(r.failure, CopyFailure::TargetReadOnly);
            QCOMPARE(r.path, target);
            // A folder fails where its own folder is to be made; a file where it is written.
            QCOMPARE(r.destinationNotMade, QLatin1String(item) != QLatin1String("/src/a.txt"));
            QVERIFY(DescribeCopyFailure(r).contains(QLatin1String("read-only")));
        }
        QCOMPARE(vzt::ListTree(target), QStringList());
        chmod(QFile::encodeName(target).constData(), 0755);
    }

    void diskFullFailsAndKeepsTheOldFile() {
        const QString root = Fresh();
        QVERIFY(vzt::MakeTree(root, {{"src/huge.bin", vzt::RandomBytes(3 * 1024 * 1024, 8)},
                                     {"src/fits.txt", "fits"}}));
        const QString target = root + "/small";
        CTmpfs mount(target, "size=1m");
        if (!mount.mounted)
            QSKIP("a small tmpfs cannot be mounted here (needs root)");
        QVERIFY(vzt::WriteAll(target + "/huge.bin", "old"));
        CScriptedObserver observer;
        CReplaceAllFlags flags;
        CFileCopier copier(observer, flags);
        const CopyResult r = copier.CopyInto(root + "/src/huge.bin", target);
        QCOMPARE(r.outcome, CopyOutcome::Failed);
        QCOMPARE(r.failure, CopyFailure::DiskFull);
        QCOMPARE(vzt::ReadAll(target + "/huge.bin"), QByteArray("old"));
        QCOMPARE(vzt::ListTree(target), QStringList{"huge.bin"});

        // A new file that does not fit (written under its own name) is removed again.
        QVERIFY(QFile::remove(target + "/huge.bin"));
        const CopyResult fresh = copier.CopyInto(root + "/src", target);
        QCOMPARE(fresh.outcome, CopyOutcome::Failed);
        QCOMPARE(fresh.failure, CopyFailure::DiskFull);
        QVERIFY(!QFileInfo::exists(target + "/src/huge.bin"));
        QVERIFY(Leftovers(target).isEmpty());
        // The space is free again for what fits.
        QVERIFY(copier.CopyInto(root + "/src/fits.txt", target).Ok());
        QCOMPARE(vzt::ReadAll(target + "/fits.txt"), QByteArray("fits"));
    }

    void specialFilesAreSkippedAndReported_data() {
        QTest::addColumn<bool>("afterListing");
        QTest::newRow("a pipe in the folder") << false;
        QTest::newRow("a file that became a pipe after the listing") << true;
    }

    void specialFilesAreSkippedAndReported() {
        QFETCH(bool, afterListing);
        const QString root = Fresh();
        const QString pipe = root + "/src/pipe";
        QVERIFY(vzt::MakeTree(root, {{"src/a.txt", "a"}, {"target/", ""}}));
        CScriptedObserver observer;
        if (afterListing) {
            QVERIFY(vzt::WriteAll(pipe, "was a file"));
            observer.onProgress = [&](const QString& name) {
                if (name == QLatin1String("pipe") && S_ISREG(LStat(pipe).st_mode)) {
                    QCOMPARE(unlink(QFile::encodeName(pipe).constData()), 0);
                    QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0644), 0);
                    errno = ENOENT;  // whatever an earlier call left behind
                }
            };
        } else {
            QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0644), 0);
        }
        CReplaceAllFlags flags;
        CRecordingListener listener;
        const CopyResult r =
            CFileCopier(observer, flags, &listener).CopyInto(root + "/src", root + "/target");
        QVERIFY2(r.Ok(), qPrintable(DescribeCopyFailure(r)));
        QCOMPARE(r.filesCopied, 1);
        QCOMPARE(r.filesSkipped, 1);
        QCOMPARE(observer.reports.size(), 1);
        QVERIFY(observer.reports[0].contains(pipe));
        QCOMPARE(vzt::ListTree(root + "/target"), (QStringList{"src/", "src/a.txt"}));
        QVERIFY(!listener.added.contains(root + "/target/src/pipe"));
    }

    void vanishedSourceFails() {
        const QString root = Fresh();
        QVERIFY(vzt::MakeTree(root, {{"src/one", "1"}, {"src/two", "2"}, {"target/", ""}}));
        CScriptedObserver observer;
        CReplaceAllFlags flags;
        CFileCopier copier(observer, flags);
        CopyResult r = copier.CopyInto(root + "/gone", root + "/target");
        QCOMPARE(r.outcome, CopyOutcome::Failed);
        QCOMPARE(r.failure, CopyFailure::SourceMissing);

        // The file that is not being copied disappears while the other one is.
        observer.onProgress = [&](const QString& name) {
            const QString other = name == QLatin1String("one") ? "two" : "one";
            QFile::remove(root + "/src/" + other);
        };
        r = copier.CopyInto(root + "/src", root + "/target");
        QCOMPARE(r.outcome, CopyOutcome::Failed);
        QCOMPARE(r.failure, CopyFailure::SourceMissing);
        QCOMPARE(r.filesCopied, 1);
        QVERIFY(Leftovers(root).isEmpty());
    }

    void copyOntoItselfIsRefused() {
        const QString root = Fresh();
        QVERIFY(vzt::MakeTree(root, {{"src/a.txt", "a"}, {"src/sub/", ""}}));
        CScriptedObserver observer;
        CReplaceAllFlags flags;
        CFileCopier copier(observer, flags);
        QCOMPARE(copier.CopyInto(root + "/src", root + "/src/sub").failure,
                 CopyFailure::TargetInsideSource);
        QCOMPARE(copier.CopyInto(root + "/src", root + "/src").failure,
                 CopyFailure::TargetInsideSource);
        QCOMPARE(copier.CopyInto(root + "/src", root).failure, CopyFailure::SameAsSource);
        QCOMPARE(copier.CopyInto(root + "/src/a.txt", root + "/src").failure,
                 CopyFailure::SameAsSource);
        QVERIFY(observer.asked.isEmpty());
        QCOMPARE(vzt::ListTree(root + "/src"), (QStringList{"a.txt", "sub/"}));
    }

    // ---- rename ----

    void renameRules_data() {
        QTest::addColumn<QString>("item");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("verdict");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* name, const char* item, const QString& typed,
                            RenameVerdict verdict, const char* text) {
            QTest::newRow(name) << QString::fromLatin1(item) << typed << int(verdict)
                                << QString::fromLatin1(text);
        };
        const char* fileExists = "A file with this name already exists. Specify a different name.";
        row("trimmed", "a.txt", "  c.txt ", RenameVerdict::Rename, "");
        row("empty", "a.txt", "   ", RenameVerdict::EmptyName, "You must specify a file name.");
        row("empty folder", "dir", "", RenameVerdict::EmptyName, "You must specify a folder name.");
        row("exists", "a.txt", "b.txt", RenameVerdict::AlreadyExists, fileExists);
        row("exists folder", "dir", "B.txt", RenameVerdict::Rename, "");
        row("folder onto file", "dir", "b.txt", RenameVerdict::AlreadyExists,
            "A folder with this name already exists. Specify a different name.");
        row("dot dot", "a.txt", "..", RenameVerdict::AlreadyExists, fileExists);
        // A name holds 255 bytes of UTF-8: 255 Latin letters, 127 Cyrillic ones.
        const char* tooLong =
            "The file name is too long. A name can hold at most 255 bytes; a "
            "letter outside the English alphabet takes two to four of them.";
        row("255 bytes", "a.txt", QString(255, 'n'), RenameVerdict::Rename, "");
        row("256 bytes", "a.txt", QString(256, 'n'), RenameVerdict::TooLong, tooLong);
        row("254 bytes of Cyrillic", "a.txt", QString(127, QChar(0x44F)), RenameVerdict::Rename,
            "");
        row("256 bytes of Cyrillic", "a.txt", QString(128, QChar(0x44F)), RenameVerdict::TooLong,
            tooLong);
    }
    void renameRules() {
        QFETCH(QString, item);
        QFETCH(QString, typed);
        QFETCH(int, verdict);
        QFETCH(QString, text);
        const QString root = Fresh();
        QVERIFY(vzt::MakeTree(root, {{"a.txt", "a"}, {"b.txt", "b"}, {"dir/", ""}}));
        const QString old = root + '/' + item;
        const bool isFolder = item == QLatin1String("dir");
        const RenameCheck check = CheckRename(old, typed);
        QCOMPARE(int(check.verdict), verdict);
        QCOMPARE(RenameRefusalText(check.verdict, isFolder), text);
        if (check.verdict == RenameVerdict::Rename) {
            QCOMPARE(check.newPath, root + '/' + typed.trimmed());
            QVERIFY(RenameOnDisk(old, check.newPath));
            QVERIFY(QFileInfo::exists(check.newPath));
            QVERIFY(!QFileInfo::exists(old));
        }
        // Nothing but a Rename verdict (carried out above) touches the disk, and the rename
        // itself never replaces what is there.
        if (check.verdict != RenameVerdict::Rename) {
            QVERIFY(!RenameOnDisk(old, root + "/b.txt"));
            QCOMPARE(vzt::ListTree(root), (QStringList{"a.txt", "b.txt", "dir/"}));
            QCOMPARE(vzt::ReadAll(root + "/b.txt"), QByteArray("b"));
        }
    }

    // Another spelling of a name is a rename where the file system tells case apart; where the
    // new spelling already names the item (as on vfat; a hard link stands in for that here)
    // only the label changes.
    void renameOtherCase() {
        const QString root = Fresh();
        QVERIFY(vzt::MakeTree(root, {{"a.txt", "a"}, {"b.txt", "b"}}));
        QCOMPARE(CheckRename(root + "/a.txt", "A.TXT").verdict, RenameVerdict::Rename);
        QCOMPARE(link(QFile::encodeName(root + "/b.txt"), QFile::encodeName(root + "/B.TXT")), 0);
        QCOMPARE(CheckRename(root + "/b.txt", " B.TXT").verdict, RenameVerdict::LabelOnly);
        QCOMPARE(CheckRename(root + "/b.txt", "b.txt").verdict, RenameVerdict::LabelOnly);
    }

    void renameConfirmation_data() {
        QTest::addColumn<uint>("attributes");
        QTest::addColumn<bool>("folder");
        QTest::addColumn<QString>("kind");  // empty: renamed without a question
        QTest::newRow("system first") << uint(kDosSystem | kDosReadOnly) << false << "system";
        QTest::newRow("read-only before hidden")
            << uint(kDosReadOnly | kDosHidden) << false << "read-only";
        QTest::newRow("folder") << uint(kDosReadOnly | kDosHidden) << true << "";
    }
    void renameConfirmation() {
        QFETCH(uint, attributes);
        QFETCH(bool, folder);
        QFETCH(QString, kind);
        FileFacts facts;
        facts.exists = true;
        facts.isFolder = folder;
        facts.isFile = !folder;
        facts.attributes = attributes;
        QCOMPARE(RenameConfirmation(facts, "a.txt", "b.txt"),
                 kind.isEmpty()
                     ? QString()
                     : "Are you sure you want to rename the " + kind + " file 'a.txt' to 'b.txt'?");
    }

    // ---- delete ----

    void deleteConfirmation_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<uint>("mode");
        QTest::addColumn<QString>("text");
        const auto row = [](const char* name, const char* file, uint mode, const char* kind) {
            QTest::newRow(name) << QString::fromLatin1(file) << mode
                                << QStringLiteral(
                                       "Are you sure you want to delete the %1file '%2'?")
                                       .arg(QLatin1String(kind), QLatin1String(file));
        };
        row("file", "a.txt", 0644u, "");
        row("hidden", ".a", 0644u, "hidden ");
        row("read-only hidden", ".a", 0400u, "read-only ");
    }
    void deleteConfirmation() {
        QFETCH(QString, name);
        QFETCH(uint, mode);
        QFETCH(QString, text);
        const QString root = Fresh();
        const QString path = root + '/' + name;
        QVERIFY(vzt::WriteAll(path, "x"));
        QCOMPARE(chmod(QFile::encodeName(path).constData(), mode), 0);
        QCOMPARE(DeleteConfirmation(path, ReadFacts(path)), text);
        QVERIFY(DeleteItem(path));
        QVERIFY(!QFileInfo::exists(path));
    }

    void deleteFolderTreeWithReadOnlyParts() {
        const QString root = Fresh();
        QVERIFY(vzt::MakeTree(root, {{"tree/a.txt", "a"},
                                     {"tree/ro.txt", "r"},
                                     {"tree/sub/deep/x.bin", "x"},
                                     {"tree/sub/.hidden", "h"},
                                     {"tree/sub/empty/", ""},
                                     {"outside/keep.txt", "keep"},
                                     {"linked/keep.txt", "keep"}}));
        for (const char* p : {"/tree/ro.txt", "/tree/sub/deep/x.bin"})
            QCOMPARE(chmod(QFile::encodeName(root + p).constData(), 0444), 0);
        for (const char* p : {"/tree/sub/deep", "/tree/sub", "/tree"})
            QCOMPARE(chmod(QFile::encodeName(root + p).constData(), 0555), 0);
        QCOMPARE(chmod(QFile::encodeName(root + "/tree").constData(), 0755), 0);
        QVERIFY(QFile::link(root + "/outside", root + "/tree/link-out"));
        QCOMPARE(chmod(QFile::encodeName(root + "/tree").constData(), 0555), 0);

        const FileFacts facts = ReadFacts(root + "/tree");
        QVERIFY(DeletesAsFolder(facts));
        QCOMPARE(DetailLinesFor(root + "/tree", false).first, QStringLiteral("objects: 2"));
        QCOMPARE(DetailLinesFor(root + "/tree", true).first, QStringLiteral("objects: 4"));

        QVERIFY(DeleteItem(root + "/tree"));
        QVERIFY(!QFileInfo::exists(root + "/tree"));
        QCOMPARE(vzt::ReadAll(root + "/outside/keep.txt"), QByteArray("keep"));

        // A link to a folder is deleted as a link; what it leads to stays.
        QVERIFY(QFile::link(root + "/linked", root + "/link"));
        const FileFacts link = ReadFacts(root + "/link");
        QVERIFY(!DeletesAsFolder(link));
        QVERIFY(DeleteItem(root + "/link"));
        QVERIFY(!QFileInfo(root + "/link").isSymLink());
        QCOMPARE(vzt::ReadAll(root + "/linked/keep.txt"), QByteArray("keep"));
    }

    void deleteStopsAtFirstFailure() {
        // A read-only file system mounted inside the folder cannot be emptied or removed.
        const QString root = Fresh();
        QVERIFY(vzt::MakeTree(root, {{"tree/a.txt", "a"}, {"tree/m/", ""}}));
        CTmpfs mount(root + "/tree/m", "size=1m");
        if (!mount.mounted)
            QSKIP("a file system cannot be mounted here (needs root)");
        QVERIFY(vzt::WriteAll(root + "/tree/m/stuck.txt", "s"));
        QVERIFY(vzt::Run("mount", {"-o", "remount,ro", root + "/tree/m"}).Ok());
        QVERIFY(!DeleteItem(root + "/tree"));
        QVERIFY(QFileInfo::exists(root + "/tree/m/stuck.txt"));
        QVERIFY(QFileInfo::exists(root + "/tree"));
    }

    // ---- names that are not UTF-8 ----

    // Such a name is listed, its facts read, copied, renamed and deleted by its real bytes
    // (checked here by the bytes themselves, not through the program's conversion).
    void namesThatAreNotUtf8_data() {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<bool>("folder");  // a folder holding such a name itself
        QTest::newRow("latin-1 file") << QByteArray("caf\xE9.txt") << false;
        QTest::newRow("overlong bytes") << QByteArray("\xC0\xAF.bin") << false;
        QTest::newRow("folder") << QByteArray("d\x80ir") << true;
    }
    void namesThatAreNotUtf8() {
        QFETCH(QByteArray, name);
        QFETCH(bool, folder);
        const QString root = Fresh();
        const QByteArray rootBytes = QFile::encodeName(root) + '/';
        const auto exists = [&](const QByteArray& relative) {
            struct stat st {};
            return lstat((rootBytes + relative).constData(), &st) == 0;
        };
        const QByteArray file = folder ? name + "/in\xFF" : name;
        QVERIFY(mkdir(rootBytes + "target", 0700) == 0);
        QVERIFY(!folder || mkdir((rootBytes + name).constData(), 0700) == 0);
        const int fd = open((rootBytes + file).constData(), O_WRONLY | O_CREAT, 0600);
        QVERIFY(fd >= 0 && write(fd, "12345", 5) == 5 && close(fd) == 0);

        const QString path = root + '/' + vz::platform::DecodePath(name);
        const FolderListing listing = ReadFolder(root, true);
        QVERIFY(QStringList(folder ? listing.folders : listing.files).contains(path));
        const QString inner = root + '/' + vz::platform::DecodePath(file);
        QCOMPARE(ReadFacts(inner).size, 5u);

        CScriptedObserver observer;
        CReplaceAllFlags flags;
        QCOMPARE(CFileCopier(observer, flags).CopyInto(path, root + "/target").outcome,
                 CopyOutcome::Succeeded);
        QVERIFY(exists("target/" + file));

        // The label as shown names the item itself; typed escapes are bytes.
        const QString shown = vz::platform::DisplayPath(vz::platform::FileNameOf(path));
        QCOMPARE(CheckRename(path, shown).verdict, RenameVerdict::LabelOnly);
        const QString renamed = path + vz::platform::DecodePath("\xFE");
        QCOMPARE(CheckRename(path, shown + "\\xfe").newPath, renamed);
        QVERIFY(RenameOnDisk(path, renamed));
        QVERIFY(exists(name + "\xFE") && !exists(name));
        QVERIFY(DeleteItem(renamed));
        QVERIFY(!exists(name + "\xFE"));
    }

    // ---- new folder ----

    void newFolderNameTakenOnlyByPlainFolder_data() {
        QTest::addColumn<QString>("occupant");
        QTest::newRow("file") << "file";
        QTest::newRow("read-only folder") << "read-only";
        QTest::newRow("link to a folder") << "link";
    }
    void newFolderNameTakenOnlyByPlainFolder() {
        QFETCH(QString, occupant);
        const QString root = Fresh();
        const QString path = root + "/New Folder";
        if (occupant == "file") {
            QVERIFY(vzt::WriteAll(path, "x"));
        } else if (occupant == "read-only") {
            QVERIFY(QDir().mkpath(path));
            QCOMPARE(chmod(QFile::encodeName(path).constData(), 0555), 0);
        } else {
            QVERIFY(QDir().mkpath(root + "/real"));
            QVERIFY(QFile::link(root + "/real", path));
        }
        // Not stepped over: the creation fails and reports it.
        QCOMPARE(NewFolderPath(root), path);
        QString created;
        QVERIFY(!CreateNewFolder(root, &created));
        QVERIFY(created.isEmpty());
    }

    // ---- texts ----

    void fileStatusText_data() {
        QTest::addColumn<qint64>("size");
        QTest::addColumn<qint64>("modified");
        QTest::addColumn<uint>("attributes");
        QTest::addColumn<QString>("text");
        const qint64 t = 981173106;  // 2001-02-03 04:05:06 UTC
        QTest::newRow("all three")
            << qint64(5) << t << uint(kDosSystem | kDosHidden | kDosReadOnly | kDosDirectory)
            << "Size - 5 bytes, Modified - 02/03/01 04:05:06, Attributes - read-only hidden "
               "system";
        QTest::newRow("1601") << qint64(12) << qint64(-11644473600) << 0u
                              << "Size - 12 bytes, Modified - ";
    }
    void fileStatusText() {
        QFETCH(qint64, size);
        QFETCH(qint64, modified);
        QFETCH(uint, attributes);
        QFETCH(QString, text);
        FileFacts facts;
        facts.exists = facts.isFile = true;
        facts.size = quint64(size);
        facts.modified = vz::FileTime::FromUnix(modified);
        facts.attributes = attributes;
        QCOMPARE(FileStatusText(facts), text);
    }

    // ---- reading folders ----

    void readFolderOrder() {
        const QString root = Fresh();
        QVERIFY(vzt::MakeTree(root, {{"b/", ""},
                                     {"A/", ""},
                                     {"c.d/x", "x"},
                                     {"Z.txt", ""},
                                     {"a.txt", ""},
                                     {".hidden", ""},
                                     {"_under", ""}}));
        QVERIFY(QFile::link(root + "/b", root + "/B-link"));
        QVERIFY(QFile::link(root + "/a.txt", root + "/file-link"));
        const QString p = root + '/';
        const FolderListing listing = ReadFolder(root, true);
        QCOMPARE(QStringList(listing.folders),
                 (QStringList{p + "A", p + "b", p + "B-link", p + "c.d"}));
        QCOMPARE(QStringList(listing.files), (QStringList{p + ".hidden", p + "_under", p + "a.txt",
                                                          p + "file-link", p + "Z.txt"}));
        // Expanders: a link to a folder counts as a folder, a file only when files are shown.
        QVERIFY(QFile::link(root, root + "/b/up"));
        QVERIFY(HasChildren(p + "b", false));
        QVERIFY(!HasChildren(p + "A", true));
        QVERIFY(!HasChildren(p + "c.d", false));
        QVERIFY(HasChildren(p + "c.d", true));
    }
};

QTEST_GUILESS_MAIN(TestFileOps)
#include "tst_fileops.moc"
