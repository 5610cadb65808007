#pragma once
// Helpers shared by the packer tests: a scripted observer and a listener, and reading an
// archive back with the peer tools.

#include <QByteArray>
#include <QDir>
#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

#include "common/OperationObserver.h"

namespace pkt {

class ScriptedObserver : public IOperationObserver {
public:
    std::vector<ReplaceAnswer> answers;  // given in turn; Yes when they run out
    std::vector<OverwriteQuestion> questions;
    QStringList reports;
    std::vector<int> percents;
    int stopPolls = 0;
    // Decides StopRequested; null: never stop.
    std::function<bool(ScriptedObserver&)> stopWhen;
    std::function<void(const OverwriteQuestion&)> onQuestion;

    std::function<void(int)> onProgress;

    void Progress(int percent, const QString&) override {
        percents.push_back(percent);
        if (onProgress)
            onProgress(percent);
    }
    bool StopRequested() override {
        ++stopPolls;
        return stopWhen && stopWhen(*this);
    }
    ReplaceAnswer AskOverwrite(const OverwriteQuestion& question) override {
        questions.push_back(question);
        if (onQuestion)
            onQuestion(question);
        const size_t i = questions.size() - 1;
        return i < answers.size() ? answers[i] : ReplaceAnswer::Yes;
    }
    bool AskPassword(const QString&, const QString&, bool, QString*) override { return false; }
    void Report(const QString& message) override { reports << message; }
};

class RecordingListener : public IItemListener {
public:
    QStringList added;
    void ItemAdded(const QString& fullPath) override { added << fullPath; }
};

inline QStringList Sorted(QStringList list) {
    list.sort();
    return list;
}

// Entry names in archive order (zipinfo -1); empty for an archive without entries.
QStringList EntryNames(const QString& archive);
// `7zz t` with a password (may be empty); true when everything is Ok.
bool SevenZipTests(const QString& archive, const QString& password, QByteArray* output = nullptr);
// `unzip -t`.
bool UnzipTests(const QString& archive, const QString& password, QByteArray* output = nullptr);
// Extracts with 7zz into `folder`.
bool SevenZipExtract(const QString& archive, const QString& password, const QString& folder);
// Unpacks the whole archive with the reading side (CZipUnpacker) into `folder`, with paths.
bool UnpackWithReader(const QString& archive, const QString& password, const QString& folder,
                      QString* error = nullptr);
// Files in `folder` other than the given names.
QStringList OtherFiles(const QString& folder, const QStringList& expected);

}  // namespace pkt
