#pragma once
// The common look of the File Browser's two properties dialogs, titled "Properties": the
// item's icon, a column of captioned values, the three attribute boxes "Read-Only", "Hidden"
// and "System" (shown, never changed) and "&Ok".

#include <QDialog>
#include <QMap>
#include <QString>

class QCheckBox;
class QFormLayout;
class QLabel;

class CPropertiesDialog : public QDialog {
    Q_OBJECT
public:
    // The value shown beside a caption ("Location:", "Size:", ...), empty when none.
    QString Value(const QString& caption) const;
    // Whether an attribute box ("Read-Only", "Hidden", "System") is checked.
    bool Attribute(const QString& name) const;

protected:
    CPropertiesDialog(const QString& path, QWidget* parent);
    void AddValue(const QString& caption, const QString& value);
    void SetAttributes(bool readOnly, bool hidden, bool system);

private:
    QFormLayout* m_form;
    QMap<QString, QLabel*> m_values;
    QMap<QString, QCheckBox*> m_attributes;
};
