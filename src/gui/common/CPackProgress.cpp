#include "common/CPackProgress.h"

#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

CPackProgress::CPackProgress(QWidget* parent)
    : QDialog(parent),
      m_item(new QLabel(this)),
      m_bar(new QProgressBar(this)),
      m_elapsed(new QLabel(this)),
      m_stop(new QPushButton(QStringLiteral("&Stop"), this)) {
    setObjectName(QStringLiteral("PackProgress"));
    setWindowTitle(QStringLiteral("Pack Progress"));
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    setModal(false);
    m_item->setTextFormat(Qt::PlainText);
    m_item->setMinimumWidth(360);
    m_bar->setRange(0, 100);
    m_bar->setValue(0);
    m_bar->setTextVisible(false);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_item);
    layout->addWidget(m_bar);
    auto* row = new QHBoxLayout;
    row->addWidget(m_elapsed, 1);
    row->addWidget(m_stop);
    layout->addLayout(row);
    connect(m_stop, &QPushButton::clicked, this, &CPackProgress::PostStopRequest);
    m_clock.start();
}

QString CPackProgress::ElapsedText(qint64 seconds) {
    if (seconds < 0) {
        seconds = 0;
    }
    return QString::asprintf("Elapsed time: %d:%02d:%02d", static_cast<int>(seconds / 3600),
                             static_cast<int>(seconds / 60 % 60), static_cast<int>(seconds % 60));
}

void CPackProgress::SetProgress(int percent, const QString& name) {
    SetProgressAt(percent, name, m_clock.elapsed());
}

void CPackProgress::SetProgressAt(int percent, const QString& name, qint64 elapsedMs) {
    const qint64 second = elapsedMs / 1000;
    if (second != m_lastSecond) {
        m_lastSecond = second;
        m_elapsed->setText(ElapsedText(second));
    }
    if (!name.isEmpty() && name != m_item->text()) {
        m_item->setText(name);
    }
    m_bar->setValue(qBound(0, percent, 100));
}

int CPackProgress::Percent() const {
    return m_bar->value();
}

QString CPackProgress::ElapsedLine() const {
    return m_elapsed->text();
}

QString CPackProgress::ItemLine() const {
    return m_item->text();
}

void CPackProgress::PostStopRequest() {
    if (!m_stopPending) {
        m_stopPending = true;
        emit StopRequested();
    }
}

bool CPackProgress::TakeStopRequest() {
    const bool pending = m_stopPending;
    m_stopPending = false;
    return pending;
}

void CPackProgress::reject() {
    // Escape asks the operation to stop; the operation closes the dialog when it ends.
    PostStopRequest();
}

void CPackProgress::closeEvent(QCloseEvent* event) {
    event->ignore();
    PostStopRequest();
}
