#pragma once
// The two finders' option dialogs, "Find Archives" and "Find Files". "&Find" stays disabled
// until every mask that the chosen search needs holds something other than blanks; the
// masks are handed on trimmed.

#include <QDialog>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QPushButton;

// The three searches of the Archive Finder, in the order of the "Mode" list.
namespace vz::finder {
QString ModeText(int mode);
constexpr int kSearchArchives = 0;
constexpr int kSearchFilesInArchives = 1;
constexpr int kSearchArchivesAndFiles = 2;
}  // namespace vz::finder

class CFindArchives : public QDialog {
    Q_OBJECT
public:
    // `insideArchive`: the search starts at an archive or a folder in one; only "Search of
    // files in archives" is offered then.
    explicit CFindArchives(bool insideArchive, QWidget* parent = nullptr);

    // After Accepted.
    int ModeIndex() const { return m_modeIndex; }
    QString ModeText() const { return m_modeText; }
    QString ArchiveMask() const { return m_archiveMask; }
    QString FileMask() const { return m_fileMask; }
    bool IncludeSubfolders() const { return m_includeSubfolders; }

    QComboBox* ModeBox() const { return m_mode; }
    QLineEdit* ArchiveMaskEdit() const { return m_archiveEdit; }
    QLineEdit* FileMaskEdit() const { return m_fileEdit; }
    QCheckBox* SubfoldersBox() const { return m_subfolders; }
    QPushButton* FindButton() const { return m_find; }

private:
    void UpdateEnabling();
    void OnFind();

    QComboBox* m_mode;
    QLineEdit* m_archiveEdit;
    QCheckBox* m_subfolders;
    QLineEdit* m_fileEdit;
    QPushButton* m_find;
    int m_modeIndex = 0;
    QString m_modeText;
    QString m_archiveMask;
    QString m_fileMask;
    bool m_includeSubfolders = true;
};

class CFindFiles : public QDialog {
    Q_OBJECT
public:
    explicit CFindFiles(QWidget* parent = nullptr);

    // After Accepted.
    QString FileMask() const { return m_fileMask; }
    bool IncludeSubfolders() const { return m_includeSubfolders; }

    QLineEdit* FileMaskEdit() const { return m_fileEdit; }
    QCheckBox* SubfoldersBox() const { return m_subfolders; }
    QPushButton* FindButton() const { return m_find; }

private:
    QLineEdit* m_fileEdit;
    QCheckBox* m_subfolders;
    QPushButton* m_find;
    QString m_fileMask;
    bool m_includeSubfolders = true;
};
