#pragma once

#include <QWidget>

class QFormLayout;
class QLabel;

namespace tov::viewer {

/// Figures of the scene and of the selection: parts, triangles, points, lines and the size of the bounding box.
/// Thread: application.
class InspectPanel : public QWidget
{
    Q_OBJECT
public:
    explicit InspectPanel(QWidget* parent = nullptr);
    ~InspectPanel() override;

    /// Counts again; hidden parts are left out.
    void refresh();
    /// Adds controls under the figures.
    void addSection(const QString& title, QWidget* content);

protected:
    void showEvent(QShowEvent* event) override;

private:
    struct Figures
    {
        QLabel* parts;
        QLabel* triangles;
        QLabel* vertices;
        QLabel* size;
    };
    Figures addFigures(const QString& title, const char* name);
    void refreshSoon();

    QFormLayout* mp_Form; ///< child
    Figures m_Scene;
    Figures m_Selection;
    bool m_RefreshPosted = false;
};

} // namespace tov::viewer
