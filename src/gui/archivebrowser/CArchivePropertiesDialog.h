#pragma once
// The common look of the Archive Browser's two properties dialogs, titled "Properties": the
// entry's icon and name, a column of captioned values and one "OK" button. They only show:
// every value comes from the entry's description text (DescriptionFields.h), so the dialogs
// read like the status bar for every archive format.

#include <QDialog>
#include <QIcon>
#include <QMap>
#include <QString>
#include <QStringList>

class QGridLayout;
class QLabel;

class CArchivePropertiesDialog : public QDialog {
    Q_OBJECT
public:
    QString Name() const { return m_name; }
    QString Location() const { return m_location; }
    // The value shown beside a caption exactly as it reads ("Location:", " Modified:", ...);
    // empty when there is none.
    QString Value(const QString& caption) const;
    // The captions, top to bottom.
    QStringList Captions() const { return m_captions; }

protected:
    // `path` is the entry's full path (the archive's path, "/", the inner path); its last
    // component is the name, the rest the location.
    CArchivePropertiesDialog(const QString& path, const QIcon& icon, QWidget* parent);
    void AddValue(const QString& caption, const QString& value);

private:
    QString m_name;
    QString m_location;
    QGridLayout* m_grid;
    QStringList m_captions;
    QMap<QString, QLabel*> m_values;
};
