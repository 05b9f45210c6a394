#include "app/viewer/patheditor.h"

#include "app/viewer/trajectorybar.h"
#include "kernel/main/settings.h"
#include "scene/view/scenepanel.h"
#include "trajectory/advancedtrajectoryinfo.h"
#include "trajectory/animationmotion.h"
#include "trajectory/trajectoryhandler.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QLocale>
#include <QPushButton>
#include <QSaveFile>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace tov::viewer {

using tov::gui::ScenePanel;
using tov::trajectory::Ease;
using tov::trajectory::TrajectoryHandler;

namespace {

constexpr double SecondsBetweenViews = 2;
constexpr double LeastSecondsBetweenViews = 0.05;
constexpr double MaxSeconds = 36000;
constexpr int PictureWidth = 80;
constexpr int PictureHeight = 50;
/// Drawing more views of a file takes too long.
constexpr std::size_t MaxDrawnPictures = 40;
constexpr qint64 MaxFileSize = qint64(64) << 20;

const QString FolderKey = QStringLiteral("window/lasttrajectorydirectory");

template <typename Value>
void reorder(std::vector<Value>& values, const std::vector<std::size_t>& order)
{
    std::vector<Value> result;
    result.reserve(order.size());
    for (const std::size_t from : order)
        result.push_back(values[from]);
    values = std::move(result);
}

} // namespace

PathEditor::PathEditor(std::function<ScenePanel*()> activeView, QWidget* parent)
    : QWidget(parent), m_ActiveView(std::move(activeView))
{
    setObjectName(QStringLiteral("PathEditor"));
    createFields();
    arrange();
    fill(-1);
}

void PathEditor::createFields()
{
    mp_List = new QListWidget(this);
    mp_List->setObjectName(QStringLiteral("PathViews"));
    mp_List->setAccessibleName(tr("Views of the camera path"));
    mp_List->setIconSize(QSize(PictureWidth, PictureHeight));
    mp_List->setDragDropMode(QAbstractItemView::InternalMove);
    mp_List->setToolTip(tr("Click a view to go there; drag it, or press Alt+Up and Alt+Down, to change the order"));
    connect(mp_List, &QListWidget::currentRowChanged, this, &PathEditor::showRow);
    connect(mp_List, &QListWidget::itemClicked, this, [this] { goToView(mp_List->currentRow()); });
    connect(mp_List, &QListWidget::itemActivated, this, [this] { goToView(mp_List->currentRow()); });
    // The list is filled again when the drag has ended.
    connect(mp_List->model(), &QAbstractItemModel::rowsMoved, this, &PathEditor::takeOrder, Qt::QueuedConnection);
    const auto addKey = [this](const QKeySequence& key, const std::function<void()>& function) {
        auto* action = new QAction(mp_List);
        action->setShortcut(key);
        action->setShortcutContext(Qt::WidgetShortcut);
        connect(action, &QAction::triggered, this, function);
        mp_List->addAction(action);
    };
    addKey(QKeySequence(QStringLiteral("Alt+Up")), [this] { moveView(-1); });
    addKey(QKeySequence(QStringLiteral("Alt+Down")), [this] { moveView(1); });
    addKey(QKeySequence(Qt::Key_Delete), [this] { removeView(); });
    mp_Time = new QDoubleSpinBox(this);
    mp_Time->setObjectName(QStringLiteral("PathTime"));
    mp_Time->setSuffix(tr(" s"));
    mp_Time->setSingleStep(0.5);
    mp_Time->setToolTip(tr("When the camera is there; later views keep their distance"));
    connect(mp_Time, QOverload<double>::of(&QDoubleSpinBox::valueChanged), this, &PathEditor::changeTime);
    mp_Ease = new QComboBox(this);
    mp_Ease->setObjectName(QStringLiteral("PathEase"));
    mp_Ease->addItem(tr("Off"), int(Ease::None));
    mp_Ease->addItem(tr("Start"), int(Ease::In));
    mp_Ease->addItem(tr("End"), int(Ease::Out));
    mp_Ease->addItem(tr("Start and end"), int(Ease::InOut));
    connect(mp_Ease, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &PathEditor::selectPath);
    mp_Loop = new QCheckBox(tr("Back to the first view"), this);
    mp_Loop->setObjectName(QStringLiteral("PathLoop"));
    mp_ConstantSpeed = new QCheckBox(tr("Constant speed"), this);
    mp_ConstantSpeed->setObjectName(QStringLiteral("PathConstantSpeed"));
    for (QCheckBox* box : {mp_Loop, mp_ConstantSpeed})
        connect(box, &QCheckBox::toggled, this, &PathEditor::selectPath);
    mp_Length = new QLabel(this);
    mp_Length->setObjectName(QStringLiteral("PathLength"));
}

void PathEditor::arrange()
{
    const auto button = [this](const QString& text, const char* name, void (PathEditor::*slot)()) {
        auto* result = new QPushButton(text, this);
        result->setObjectName(QLatin1String(name));
        connect(result, &QPushButton::clicked, this, slot);
        return result;
    };
    const auto row = [](std::initializer_list<QWidget*> widgets) {
        auto* layout = new QHBoxLayout;
        for (QWidget* widget : widgets)
            layout->addWidget(widget);
        return layout;
    };
    mp_Update = button(tr("Update"), "UpdateView", &PathEditor::updateView);
    mp_Update->setToolTip(tr("Replace the selected view by the active view"));
    mp_Remove = button(tr("Remove"), "RemoveView", &PathEditor::removeView);
    mp_Preview = button(tr("Preview"), "PreviewPath", &PathEditor::preview);
    mp_Save = button(tr("Save ..."), "SavePath", &PathEditor::chooseSave);
    auto* column = new QVBoxLayout(this);
    column->addLayout(row({button(tr("Add view"), "AddView", &PathEditor::addView), mp_Update, mp_Remove}));
    column->addWidget(mp_List, 1);
    auto* form = new QFormLayout;
    form->addRow(tr("Time:"), mp_Time);
    form->addRow(tr("Slow at:"), mp_Ease);
    form->addRow(QString(), mp_Loop);
    form->addRow(QString(), mp_ConstantSpeed);
    form->addRow(tr("Length:"), mp_Length);
    column->addLayout(form);
    column->addLayout(row({mp_Preview, button(tr("Open ..."), "OpenPath", &PathEditor::chooseOpen), mp_Save}));
}

QIcon PathEditor::pictureOf(ScenePanel* view) const
{
    const QImage shown = view->grabFramebuffer().scaled(PictureWidth, PictureHeight, Qt::KeepAspectRatioByExpanding,
                                                        Qt::SmoothTransformation);
    return QIcon(QPixmap::fromImage(shown.copy((shown.width() - PictureWidth) / 2, (shown.height() - PictureHeight) / 2,
                                               PictureWidth, PictureHeight)));
}

void PathEditor::addView()
{
    auto* view = m_ActiveView();
    if (!view)
        return;
    const double time = m_Keys.empty() ? 0 : m_Keys.back().time + SecondsBetweenViews;
    m_Keys.push_back({time, view->getCamera()});
    m_Pictures.push_back(pictureOf(view));
    fill(int(m_Keys.size()) - 1);
    selectPath();
}

void PathEditor::updateView()
{
    auto* view = m_ActiveView();
    const int row = mp_List->currentRow();
    if (!view || row < 0)
        return;
    m_Keys[std::size_t(row)].camera = view->getCamera();
    m_Pictures[std::size_t(row)] = pictureOf(view);
    fill(row);
    selectPath();
}

void PathEditor::removeView()
{
    const int row = mp_List->currentRow();
    if (row < 0)
        return;
    m_Keys.erase(m_Keys.begin() + row);
    m_Pictures.erase(m_Pictures.begin() + row);
    fill(std::min(row, int(m_Keys.size()) - 1));
    selectPath();
}

void PathEditor::moveView(int by)
{
    const int row = mp_List->currentRow(), target = row + by;
    if (row < 0 || target < 0 || target >= mp_List->count())
        return;
    std::swap(m_Keys[std::size_t(row)].camera, m_Keys[std::size_t(target)].camera);
    std::swap(m_Pictures[std::size_t(row)], m_Pictures[std::size_t(target)]);
    fill(target);
    selectPath();
}

/// The views have been dragged into another order; the times stay where they are.
void PathEditor::takeOrder()
{
    std::vector<std::size_t> order;
    order.reserve(std::size_t(mp_List->count()));
    for (int row = 0; row < mp_List->count(); ++row)
        order.push_back(std::size_t(mp_List->item(row)->data(Qt::UserRole).toInt()));
    if (order.size() != m_Keys.size())
        return;
    std::vector<double> times;
    for (const auto& key : m_Keys)
        times.push_back(key.time);
    reorder(m_Keys, order);
    reorder(m_Pictures, order);
    for (std::size_t i = 0; i < times.size(); ++i)
        m_Keys[i].time = times[i];
    fill(mp_List->currentRow());
    selectPath();
}

void PathEditor::changeTime(double seconds)
{
    const int row = mp_List->currentRow();
    if (row < 0)
        return;
    const double by = seconds - m_Keys[std::size_t(row)].time;
    for (std::size_t i = std::size_t(row); i < m_Keys.size(); ++i)
        m_Keys[i].time += by;
    fill(row);
    selectPath();
}

void PathEditor::goToView(int row)
{
    auto* view = m_ActiveView();
    if (!view || row < 0)
        return;
    const auto camera = m_Keys[std::size_t(row)].camera;
    view->fly([view, &camera] { view->setCamera(camera); });
}

void PathEditor::fill(int row)
{
    {
        const QSignalBlocker blocker(mp_List);
        mp_List->clear();
        for (std::size_t i = 0; i < m_Keys.size(); ++i) {
            auto* item = new QListWidgetItem(
                m_Pictures[i],
                tr("View %1\n%2 s").arg(QString::number(i + 1), QLocale().toString(m_Keys[i].time, 'f', 2)), mp_List);
            item->setData(Qt::UserRole, int(i));
            item->setFlags(item->flags() & ~Qt::ItemIsDropEnabled);
        }
        mp_List->setCurrentRow(row);
    }
    showRow();
}

void PathEditor::showRow()
{
    const int row = mp_List->currentRow();
    const bool any = row >= 0;
    for (QWidget* widget :
         {static_cast<QWidget*>(mp_Time), static_cast<QWidget*>(mp_Update), static_cast<QWidget*>(mp_Remove)})
        widget->setEnabled(any);
    mp_Preview->setEnabled(m_Keys.size() > 1);
    mp_Save->setEnabled(!m_Keys.empty());
    const QSignalBlocker blocker(mp_Time);
    const double least = row > 0 ? m_Keys[std::size_t(row) - 1].time + LeastSecondsBetweenViews : 0;
    mp_Time->setRange(least, MaxSeconds);
    if (any)
        mp_Time->setValue(m_Keys[std::size_t(row)].time);
}

bool PathEditor::makePath(CameraPath& path)
{
    CameraPath::Options options;
    options.loop = mp_Loop->isChecked();
    options.constantSpeed = mp_ConstantSpeed->isChecked();
    options.ease = Ease(mp_Ease->currentData().toInt());
    if (options.loop && m_LoopSeconds > m_Keys.back().time - m_Keys.front().time)
        options.duration = m_LoopSeconds;
    QString error;
    if (CameraPath::create(m_Keys, options, path, &error))
        return true;
    emit failed(error);
    return false;
}

void PathEditor::selectPath()
{
    auto* handler = TrajectoryHandler::getInstance();
    mp_Length->setText(QString());
    if (m_Keys.size() < 2) {
        // One view is no path.
        if (m_Motion && handler->getAdvancedTrajectoryInfo()->getMotion() == m_Motion)
            handler->selectMode(TrajectoryHandler::ModeNone);
        m_Motion.reset();
        return;
    }
    CameraPath path;
    if (!makePath(path))
        return;
    mp_Length->setText(tr("%1 s").arg(QLocale().toString(path.duration(), 'f', 2)));
    // Selecting goes to the first view, but the user is working on another one.
    auto* view = m_ActiveView();
    const auto camera = view ? view->getCamera() : tov::scene::Camera();
    const auto playback = TrajectoryBar::getPlayback();
    QString error;
    if (!handler->selectPath(path, playback, &error)) {
        emit failed(error);
        return;
    }
    m_Motion = handler->getAdvancedTrajectoryInfo()->getMotion();
    const int row = std::max(0, mp_List->currentRow());
    const double frame = (m_Keys[std::size_t(row)].time - m_Keys.front().time) * playback.fps;
    handler->setPosition(std::min(static_cast<unsigned long>(std::lround(frame)), handler->getCount() - 1));
    if (view)
        view->setCamera(camera);
}

void PathEditor::preview()
{
    if (auto* view = m_ActiveView())
        view->setFollowsTrajectory(true);
    selectPath();
    emit playRequested();
}

bool PathEditor::openFile(const QString& fileName)
{
    const auto fail = [&](const QString& reason) {
        emit failed(tr("%1 cannot be opened as a camera path: %2").arg(fileName, reason));
        return false;
    };
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return fail(file.errorString());
    if (file.size() > MaxFileSize)
        return fail(tr("it is larger than 64 MiB"));
    CameraPath path;
    QString error;
    if (!CameraPath::fromJson(file.readAll(), path, &error))
        return fail(error);
    m_Keys = path.getKeys();
    const auto& options = path.getOptions();
    m_LoopSeconds = options.duration;
    {
        const QSignalBlocker loop(mp_Loop), speed(mp_ConstantSpeed), ease(mp_Ease);
        mp_Loop->setChecked(options.loop);
        mp_ConstantSpeed->setChecked(options.constantSpeed);
        mp_Ease->setCurrentIndex(mp_Ease->findData(int(options.ease)));
    }
    drawPictures();
    fill(0);
    selectPath();
    goToView(0);
    return true;
}

void PathEditor::drawPictures()
{
    m_Pictures.assign(m_Keys.size(), QIcon());
    auto* view = m_ActiveView();
    if (!view)
        return;
    const QSignalBlocker blocker(view);
    const auto camera = view->getCamera();
    for (std::size_t i = 0; i < std::min(m_Keys.size(), MaxDrawnPictures); ++i) {
        view->setCamera(m_Keys[i].camera);
        m_Pictures[i] = pictureOf(view);
    }
    view->setCamera(camera);
}

bool PathEditor::saveFile(const QString& fileName)
{
    CameraPath path;
    if (m_Keys.empty() || !makePath(path))
        return false;
    QSaveFile file(fileName);
    if (file.open(QIODevice::WriteOnly) && file.write(path.toJson()) >= 0 && file.commit())
        return true;
    emit failed(tr("cannot write '%1': %2").arg(fileName, file.errorString()));
    return false;
}

void PathEditor::chooseOpen()
{
    const QString fileName = QFileDialog::getOpenFileName(
        this, tr("Open camera path"), tovSettings().value(FolderKey).toString(), tr("Camera paths (*.json)"));
    if (fileName.isEmpty())
        return;
    tovSettings().setValue(FolderKey, QFileInfo(fileName).absolutePath());
    openFile(fileName);
}

void PathEditor::chooseSave()
{
    const QString folder = tovSettings().value(FolderKey).toString();
    // A dialog that adds the suffix itself also asks before an older file of the complete name is replaced.
    QFileDialog dialog(this, tr("Save camera path"), folder, tr("Camera paths (*.json)"));
    dialog.setObjectName(QStringLiteral("SavePathDialog"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QStringLiteral("json"));
    dialog.selectFile(QStringLiteral("path.json"));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return;
    const QString fileName = dialog.selectedFiles().first();
    tovSettings().setValue(FolderKey, QFileInfo(fileName).absolutePath());
    saveFile(fileName);
}

} // namespace tov::viewer
