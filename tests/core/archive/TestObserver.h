#pragma once
// An observer with scripted answers that records what it was asked.

#include <QStringList>
#include <deque>

#include "common/OperationObserver.h"

class TestObserver : public IOperationObserver {
public:
    std::deque<ReplaceAnswer> overwriteAnswers;  // used in order; Yes when they run out
    std::deque<QString> passwords;               // used in order; cancel when they run out
    int stopAfterPolls = -1;                     // >= 0: StopRequested turns true after that many
    QStringList asked;                           // existing paths of overwrite questions
    QStringList reports;
    int passwordQuestions = 0;
    int polls = 0;
    int lastPercent = -1;

    void Progress(int percent, const QString&) override { lastPercent = percent; }
    bool StopRequested() override { return stopAfterPolls >= 0 && ++polls > stopAfterPolls; }
    ReplaceAnswer AskOverwrite(const OverwriteQuestion& q) override {
        asked << q.existing.path;
        if (overwriteAnswers.empty())
            return ReplaceAnswer::Yes;
        const ReplaceAnswer a = overwriteAnswers.front();
        overwriteAnswers.pop_front();
        return a;
    }
    bool AskPassword(const QString&, const QString&, bool, QString* password) override {
        ++passwordQuestions;
        if (passwords.empty())
            return false;
        *password = passwords.front();
        passwords.pop_front();
        return true;
    }
    void Report(const QString& message) override { reports << message; }
};
