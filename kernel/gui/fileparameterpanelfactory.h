#pragma once

#include "kernel/gui/parameterpanelfactory.h"

#include <QStringList>

#include <boost/function.hpp>

#include <vector>

class QFileDialog;

namespace tov::main {

/// A file format that a command can write.
struct FileFormat
{
    QString extension; ///< lower case, without the leading dot; may contain dots ("hq.mp4")
    QString description;

    bool operator==(const FileFormat& other) const = default;
};

/// The formats in the name filters of a file dialog, in their order. A filter reads "description (*.extension ...)" and
/// gives one format per extension; patterns of any other form ("*", "*.*") are ignored. Thread: any.
TOV_EXPORT std::vector<FileFormat> formatsOfNameFilters(const QStringList& nameFilters);

/// Editor for a file name: a line and a button that opens a file dialog, which the command creates.
class TOV_EXPORT FileParameterPanelFactory : public ParameterPanelFactory
{
public:
    /// `createDialog` returns a new dialog, which the caller owns, or null. It is called on the application thread.
    explicit FileParameterPanelFactory(const boost::function<QFileDialog*()>& createDialog);
    ~FileParameterPanelFactory() override;
    ParameterPanel* createPanel(const AbstractParameter& parameter, QWidget* parent) override;
    /// A new dialog of the command; the caller owns it. May be null.
    QFileDialog* createDialog() const;
    /// The formats that the command can write now. Thread: application.
    std::vector<FileFormat> formats() const;

private:
    boost::function<QFileDialog*()> m_CreateDialog;
};

} // namespace tov::main
