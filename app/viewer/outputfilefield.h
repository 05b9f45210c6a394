#pragma once

#include <QStringList>
#include <QWidget>

class QLineEdit;

namespace tov::viewer {

/// The file that an export writes: a line to type into and a button for a file dialog. Thread: application.
class OutputFileField : public QWidget
{
    Q_OBJECT
public:
    /// `title` is that of the file dialog.
    OutputFileField(const QString& title, QWidget* parent);

    QString getFileName() const;
    void setFileName(const QString& fileName);
    /// The formats that the file dialog offers.
    void setFilters(const QStringList& filters) { m_Filters = filters; }
    /// True when the file does not exist, or when the user agrees to replace it.
    bool agreesToReplace();

signals:
    void changed();

private:
    void choose();

    const QString m_Title;
    QStringList m_Filters;
    QLineEdit* mp_Edit;   ///< child
    QString m_AgreedFile; ///< the user has agreed to replace this file
};

} // namespace tov::viewer
