#pragma once
// The drives button of the File Browser's toolbar (command 32786): it holds the drives list
// and gives the text of the entry selected in it.

#include <QString>
#include <QWidgetAction>

class CListDrives;

class CDrivesButton : public QWidgetAction {
    Q_OBJECT
public:
    explicit CDrivesButton(QObject* parent = nullptr);

    CListDrives* List() const { return m_list; }
    // The text of the selected entry.
    QString Text() const;

private:
    CListDrives* m_list;
};
