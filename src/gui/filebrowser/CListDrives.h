#pragma once
// The drives list of the File Browser's toolbar: the top-level places (Home first, then the
// mounted file systems), then the cloud-drive and special-folder roots, each with its icon.
// The first fixed place is selected after filling; choosing an entry tells its path.

#include <QComboBox>
#include <QList>

#include "platform/Places.h"

class CListDrives : public QComboBox {
    Q_OBJECT
public:
    explicit CListDrives(QWidget* parent = nullptr);

    // Replaces the entries. Removable media are listed without being read.
    void Fill(const QList<vz::platform::CPlace>& places);
    // The index of the first fixed place (selected after filling).
    int FirstFixedIndex() const { return m_firstFixed; }
    // The path of an entry.
    QString PathAt(int index) const;

signals:
    // The user chose the entry of this path.
    void DriveChosen(const QString& path);

private:
    int m_firstFixed = -1;
};
