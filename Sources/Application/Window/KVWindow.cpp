// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVWindow.h"

#include "KVAboutBox.h"
#include "KVAddFilesAlertPanel.h"
#include "KVButtonCell.h"
#include "KVCameraBrowser.h"
#include "KVCameraBrowserAdapter.h"
#include "KVDispatch.h"
#include "KVDisplaySynchProgressDrawer.h"
#include "KVDisplayView.h"
#include "KVFileName.h"
#include "KVHelpWindow.h"
#include "KVKeyPath.h"
#include "KVLockView.h"
#include "KVManualDateTimeView.h"
#include "KVRoundButtonCell.h"
#include "KVStartView.h"
#include "KVToolBar.h"
#include "KVUserDefaults.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace {

const QString kKVSupportAddress = QStringLiteral("mailto:support@kalvora.app");
const QString kKVWebSite = QStringLiteral("https://kalvora.app");

// The tool bar: the display in the middle, the manual-date button on its left and the Sync
// button on its right.
constexpr int kKVToolBarHeight = 84;
constexpr int kKVDisplayWidth = 420;
constexpr int kKVDisplayHeight = 64;
constexpr int kKVSyncButtonWidth = 120;
constexpr int kKVSyncButtonHeight = 32;
constexpr int kKVSuggestButtonWidth = 140;
constexpr int kKVManualButtonSize = 32;

// The delegate's keys the window follows.
const QStringList &followedKeys() {
    static const QStringList keys = {KVKeyPath::isEnabledSynchronization,
                                     KVKeyPath::isManualSetEnable, KVKeyPath::isProcessingPathes,
                                     KVKeyPath::imageFiles};
    return keys;
}

} // namespace

KVWindow::KVWindow(QWidget *parent)
    : QMainWindow(parent)
    , m_delegate(std::make_unique<KVAppDelegate>(this)) {
    setWindowTitle(QStringLiteral("Kalvora"));
    setMinimumSize(720, 480);
    resize(1000, 680);
    m_browserDataSource = std::make_unique<KVCameraBrowserAdapter>(m_delegate->cameraSets());
    buildContent();
    buildMenus();
    for (const QString &key : followedKeys())
        m_delegate->addObserver(this, key);
    m_delegate->undoManager().addObserver(this, KVKeyPath::canUndo);
    m_delegate->undoManager().addObserver(this, KVKeyPath::canRedo);
}

KVWindow::~KVWindow() {
    for (const QString &key : followedKeys())
        m_delegate->removeObserver(this, key);
    m_delegate->undoManager().removeObserver(this, KVKeyPath::canUndo);
    m_delegate->undoManager().removeObserver(this, KVKeyPath::canRedo);
    // The display follows the delegate's queue, and the browser asks the delegate while it
    // goes: both let go before the delegate does.
    m_display->progressDrawer()->setQueue(nullptr);
    // The popover watches the delegate's manual-date controller.
    delete m_manualDateTimeView;
    m_manualDateTimeView = nullptr;
    delete m_browser;
    m_browser = nullptr;
}

void KVWindow::buildContent() {
    auto *content = new QWidget(this);
    auto *layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);

    m_toolBar = new KVToolBar(content);
    m_toolBar->setFixedHeight(kKVToolBarHeight);
    m_display = new KVDisplayView(m_toolBar);
    m_display->resize(kKVDisplayWidth, kKVDisplayHeight);
    m_toolBar->setPlaceholder(m_display);
    m_manualButton = new KVRoundButtonCell(m_toolBar);
    m_manualButton->resize(kKVManualButtonSize, kKVManualButtonSize);
    m_manualButton->setToolTip(tr("Set the base date and time by hand"));
    m_manualButton->setEnabled(false);
    connect(m_manualButton, &QAbstractButton::clicked, this, &KVWindow::showManualDatePopover);
    m_syncButton = new KVButtonCell(m_toolBar);
    m_syncButton->setText(KVAppDelegate::mainSyncButtonTitle());
    // Wide enough for both of its titles, so that it keeps its place during a run.
    m_syncButton->resize(
        std::max({kKVSyncButtonWidth,
                  m_syncButton->widthForTitle(KVAppDelegate::mainSyncButtonTitle()),
                  m_syncButton->widthForTitle(KVAppDelegate::alternateSyncButtonTitle())}),
        kKVSyncButtonHeight);
    m_syncButton->setEnabled(false);
    connect(m_syncButton, &QAbstractButton::clicked, this,
            [this] { m_delegate->synchronizeTimeOrCancel(); });
    m_suggestButton = new KVButtonCell(m_toolBar);
    m_suggestButton->setText(tr("Suggest Matches"));
    m_suggestButton->resize(std::max(kKVSuggestButtonWidth, m_suggestButton->sizeHint().width()),
                            kKVSyncButtonHeight);
    m_suggestButton->setToolTip(tr("Find the matching photos from when the photos were taken"));
    m_suggestButton->setEnabled(false);
    connect(m_suggestButton, &QAbstractButton::clicked, this, &KVWindow::suggestMatches);
    m_toolBar->installEventFilter(this);
    layout->addWidget(m_toolBar);

    m_stack = new QStackedWidget(content);
    m_browser = new KVCameraBrowser(m_stack);
    m_browser->setDataSource(m_browserDataSource.get());
    m_startView = new KVStartView(m_stack);
    m_startView->setDropHandler(
        [this](const QList<QUrl> &urls) { m_delegate->cameraSets().addNewFilesFromURLs(urls); });
    m_stack->addWidget(m_browser);
    m_stack->addWidget(m_startView);
    m_stack->setCurrentWidget(m_startView);
    layout->addWidget(m_stack, 1);

    // Laid over the camera list while photos are being read; hidden otherwise.
    m_lockView = new KVLockView(content);
    m_lockView->hide();
    content->installEventFilter(this);
    setCentralWidget(content);
}

void KVWindow::buildMenus() {
    QMenu *application = menuBar()->addMenu(QStringLiteral("Kalvora"));
    application->addAction(tr("About Kalvora"), this, &KVWindow::showAboutBox)
        ->setMenuRole(QAction::AboutRole);
    application->addSeparator();
    m_verboseLoggingAction = application->addAction(tr("Verbose Logging"));
    m_verboseLoggingAction->setCheckable(true);
    connect(m_verboseLoggingAction, &QAction::triggered, this, [this] {
        m_delegate->verboseLogging();
        validateMenuItems();
    });
    application->addSeparator();
    m_quitAction = application->addAction(tr("Quit Kalvora"), this, &KVWindow::terminate);
    m_quitAction->setShortcut(QKeySequence::Quit);
    m_quitAction->setMenuRole(QAction::QuitRole);

    QMenu *file = menuBar()->addMenu(tr("File"));
    m_addFilesAction = file->addAction(tr("Add Files…"), this, &KVWindow::addFiles);
    m_addFilesAction->setShortcut(QKeySequence::Open);
    m_addFolderAction = file->addAction(tr("Add Folder…"), this, &KVWindow::addFolder);
    m_removeFilesAction = file->addAction(tr("Remove All"), this, &KVWindow::removeFiles);

    QMenu *edit = menuBar()->addMenu(tr("Edit"));
    m_undoAction = edit->addAction(tr("Undo"), this, &KVWindow::undo);
    m_undoAction->setShortcut(QKeySequence::Undo);
    m_redoAction = edit->addAction(tr("Redo"), this, &KVWindow::redo);
    m_redoAction->setShortcut(QKeySequence::Redo);
    edit->addSeparator();
    m_suggestMatchesAction =
        edit->addAction(tr("Suggest Matches"), this, &KVWindow::suggestMatches);
    m_suggestMatchesAction->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_M));

    QMenu *view = menuBar()->addMenu(tr("View"));
    m_fullScreenAction =
        view->addAction(m_delegate->fullScreenTitle(false), this, &KVWindow::toggleFullScreen);
    m_fullScreenAction->setShortcut(QKeySequence::FullScreen);

    QMenu *help = menuBar()->addMenu(tr("Help"));
    help->addAction(tr("Kalvora Help"), this, &KVWindow::openManual)
        ->setShortcut(QKeySequence::HelpContents);
    help->addAction(tr("Contact Support by E-mail"), this, &KVWindow::contactSupportByEMail);
    help->addAction(tr("Kalvora Web Site"), this, &KVWindow::gotoWebsite);

    for (QMenu *menu : {application, file, edit, view, help})
        connect(menu, &QMenu::aboutToShow, this, &KVWindow::validateMenuItems);
    validateMenuItems();
}

void KVWindow::launch(const QString &bundlePath) {
    m_delegate->awakeFromNib();
    m_delegate->applicationDidFinishLaunching(bundlePath);
    followDelegate();
}

void KVWindow::openFiles(const QStringList &paths) {
    QList<QUrl> urls;
    urls.reserve(paths.size());
    for (const QString &path : paths)
        urls.append(KVFileName::url(KVFileName::absolute(path)));
    m_delegate->cameraSets().addNewFilesFromURLs(urls);
}

void KVWindow::validateMenuItems() {
    bool checked = false;
    m_addFilesAction->setEnabled(m_delegate->validateMenuItem(KVAppDelegate::MenuAction::AddFiles));
    m_addFolderAction->setEnabled(m_addFilesAction->isEnabled());
    m_removeFilesAction->setEnabled(
        m_delegate->validateMenuItem(KVAppDelegate::MenuAction::RemoveFiles));
    // Quit stays on while busy, so that Ctrl+Q is answered with the reason rather than silence.
    m_quitAction->setEnabled(true);
    m_delegate->validateMenuItem(KVAppDelegate::MenuAction::VerboseLogging, &checked);
    m_verboseLoggingAction->setChecked(checked);
    m_undoAction->setEnabled(m_delegate->validateUndoItem(false));
    m_redoAction->setEnabled(m_delegate->validateUndoItem(true));
    m_suggestMatchesAction->setEnabled(m_delegate->canSuggestMatches());
    m_fullScreenAction->setText(m_delegate->fullScreenTitle(isFullScreen()));
}

void KVWindow::followDelegate() {
    m_syncButton->setEnabled(m_delegate->isEnabledSynchronization());
    m_manualButton->setEnabled(m_delegate->isManualSetEnable());
    m_suggestButton->setEnabled(m_delegate->canSuggestMatches());
    validateMenuItems();
}

void KVWindow::observeValueForKeyPath(const QString &, KVObservable *) {
    // Told on whichever thread changed the value; the widgets follow on the main thread.
    std::weak_ptr<int> alive = m_lifeToken;
    KVDispatchMain([this, alive] {
        if (!alive.expired())
            followDelegate();
    });
}

// The commands.

void KVWindow::addFiles() {
    if (!m_delegate->validateMenuItem(KVAppDelegate::MenuAction::AddFiles))
        return;
    QFileDialog dialog(this, tr("Add Files"));
    dialog.setFileMode(QFileDialog::ExistingFiles);
    dialog.setNameFilters(addFilesNameFilters());
    // The photo patterns are long and unreadable; the filter's name says enough.
    dialog.setOption(QFileDialog::HideNameFilterDetails);
    if (dialog.exec() == QDialog::Accepted)
        openFiles(dialog.selectedFiles());
}

void KVWindow::addFolder() {
    if (!m_delegate->validateMenuItem(KVAppDelegate::MenuAction::AddFiles))
        return;
    const QString folder = QFileDialog::getExistingDirectory(this, tr("Add Folder"));
    if (!folder.isEmpty())
        openFiles({folder});
}

QStringList KVWindow::addFilesNameFilters() {
    // Each letter both ways ("*.[jJ][pP][gG]"), so that every dialog, whatever its own rule
    // for case, shows "IMG_1.JPG" and "img_1.Jpg" alike.
    QStringList patterns;
    for (const QString &extension : KVCameraSets::supportedFileExtensions()) {
        QString pattern = QStringLiteral("*.");
        for (const QChar letter : extension) {
            if (letter.isLetter())
                pattern +=
                    QLatin1Char('[') + letter.toLower() + letter.toUpper() + QLatin1Char(']');
            else
                pattern += letter;
        }
        patterns << pattern;
    }
    return {tr("Photos (%1)").arg(patterns.join(QLatin1Char(' '))), tr("All files (*)")};
}

void KVWindow::removeFiles() {
    if (m_delegate->validateMenuItem(KVAppDelegate::MenuAction::RemoveFiles))
        m_delegate->removeFiles();
}

void KVWindow::terminate() {
    if (m_delegate->applicationShouldTerminate())
        QApplication::quit();
}

void KVWindow::undo() {
    if (m_delegate->validateUndoItem(false))
        m_delegate->undoManager().undo();
    validateMenuItems();
}

void KVWindow::redo() {
    if (m_delegate->validateUndoItem(true))
        m_delegate->undoManager().redo();
    validateMenuItems();
}

void KVWindow::toggleFullScreen() {
    if (isFullScreen())
        showNormal();
    else
        showFullScreen();
}

void KVWindow::showAboutBox() {
    if (!m_aboutBox)
        m_aboutBox = new KVAboutBox(this);
    m_aboutBox->showAboutBox();
}

void KVWindow::openManual() {
    const QString manual =
        QDir::cleanPath(QDir(QCoreApplication::applicationDirPath())
                            .filePath(QStringLiteral("../Resources/Kalvora.pdf")));
    // The desktop's PDF viewer when it has one; otherwise the manual's pages in a window here,
    // rather than a launcher's complaint on standard error that nobody sees.
    if (QFileInfo::exists(manual) && !KVHelpWindow::pdfViewer().isEmpty() &&
        QDesktopServices::openUrl(QUrl::fromLocalFile(manual)))
        return;
    if (!m_helpWindow)
        m_helpWindow = new KVHelpWindow(this);
    m_helpWindow->show();
    m_helpWindow->raise();
    m_helpWindow->activateWindow();
}

KVHelpWindow *KVWindow::helpWindow() const {
    return m_helpWindow;
}

void KVWindow::contactSupportByEMail() {
    QDesktopServices::openUrl(QUrl(kKVSupportAddress));
}

void KVWindow::gotoWebsite() {
    QDesktopServices::openUrl(QUrl(kKVWebSite));
}

KVManualDateTimeView *KVWindow::manualDateTimeView() {
    if (!m_manualDateTimeView) {
        m_manualDateTimeView =
            new KVManualDateTimeView(m_delegate->manualDateTimeViewController(), this);
        m_manualDateTimeView->setWillShowHandler([this] { m_delegate->popoverWillShow(); });
    }
    return m_manualDateTimeView;
}

void KVWindow::suggestMatches() {
    m_delegate->suggestMatches();
}

void KVWindow::showManualDatePopover() {
    if (!m_delegate->isManualSetEnable())
        return;
    manualDateTimeView()->showBelow(m_manualButton);
}

// The window's life.

void KVWindow::closeEvent(QCloseEvent *event) {
    // A run or an import is never cut off: the window stays while the program is busy, and
    // says so.
    if (!m_closeButtonEnabled || !m_delegate->windowShouldClose()) {
        event->ignore();
        m_delegate->refuseToEndWhileBusy();
        return;
    }
    event->accept();
}

void KVWindow::changeEvent(QEvent *event) {
    if (event->type() == QEvent::WindowStateChange)
        windowDidChangeFullScreen(isFullScreen());
    QMainWindow::changeEvent(event);
}

void KVWindow::windowDidChangeFullScreen(bool isFullScreen) {
    layOutToolBar();
    if (!isFullScreen)
        setCloseButtonEnabled(!m_delegate->isProcessingPathes());
    validateMenuItems();
}

bool KVWindow::eventFilter(QObject *watched, QEvent *event) {
    if (event->type() == QEvent::Resize) {
        if (watched == m_toolBar)
            layOutToolBar();
        else if (watched == centralWidget() && m_lockView->isVisible())
            m_lockView->setGeometry(m_stack->geometry());
    }
    return QMainWindow::eventFilter(watched, event);
}

void KVWindow::layOutToolBar() {
    const int width = m_toolBar->width();
    const int height = m_toolBar->height();
    // The display stays in the middle, with room on its left for Suggest Matches and the round
    // button.
    const int displayWidth =
        qMin(kKVDisplayWidth, width - 2 * (m_suggestButton->width() + kKVManualButtonSize + 48));
    const int placeholderHeight = m_display->height();
    // In full screen the display sits in the middle, two points above it; in a window it hangs
    // from the top edge (lower-left-origin y = bar height - its height).
    const double y = isFullScreen() ? (height - placeholderHeight) * 0.5 + 2.0
                                    : double(height - placeholderHeight);
    const int top = int(height - y - placeholderHeight);
    m_display->setGeometry((width - displayWidth) / 2, top + 10, displayWidth, placeholderHeight);
    const int middle = m_display->geometry().center().y();
    m_manualButton->move(m_display->x() - kKVManualButtonSize - 16,
                         middle - kKVManualButtonSize / 2);
    m_syncButton->move(m_display->geometry().right() + 16, middle - kKVSyncButtonHeight / 2);
    m_suggestButton->move(m_manualButton->x() - m_suggestButton->width() - 16,
                          middle - kKVSyncButtonHeight / 2);
}

// What the delegate asks of its window.

void KVWindow::addLockView() {
    m_lockView->setGeometry(m_stack->geometry());
    m_lockView->show();
    m_lockView->raise();
}

void KVWindow::removeLockView() {
    m_lockView->hide();
}

void KVWindow::setCloseButtonEnabled(bool enabled) {
    m_closeButtonEnabled = enabled;
}

void KVWindow::setStartViewShown(bool shown) {
    m_stack->setCurrentWidget(shown ? static_cast<QWidget *>(m_startView) : m_browser);
}

void KVWindow::reloadBrowser() {
    m_browser->reload();
    validateMenuItems();
}

QString KVWindow::syncButtonTitle() const {
    return m_syncButton->text();
}

void KVWindow::setSyncButtonTitle(const QString &title) {
    m_syncButton->setText(title);
}

void KVWindow::beep() {
    QApplication::beep();
}

void KVWindow::displayString(const QString &text) {
    m_display->drawString(KVFileName::displayed(text));
}

void KVWindow::displayImageFile(const KVImageFileRef &file) {
    m_display->drawImageFile(file, m_delegate->cameraSets().distinctCameraName(file));
}

void KVWindow::displaySyncProcess() {
    m_display->startDrawSynchProgress(&m_delegate->syncQueue());
}

void KVWindow::showFileReport(FileReportType type, const QList<QVariantMap> &records) {
    std::unique_ptr<KVAddFilesAlertPanel> panel = KVAddFilesAlertPanel::alertPanel();
    if (type == NotChangedFiles)
        panel->setDialogType(1);
    panel->setDetailsInfoFromArray(records);
    // A sheet over this window: it names what went wrong where the photos are, and the rest
    // of the desktop stays usable.
    KVAddFilesAlertPanel::beginSheetModalForWindow(std::move(panel), this, {});
}

void KVWindow::closeManualDatePopover() {
    if (m_manualDateTimeView)
        m_manualDateTimeView->hide();
}

void KVWindow::showPhotosInBrowser(const std::vector<std::pair<int, int>> &cameraPhotos) {
    m_browser->showPhotos(cameraPhotos);
}

int KVWindow::runAlert(const QString &title, const QString &text, const QStringList &buttons) {
    // The headline is the alert's text and the advice its informative text: a window manager
    // cuts a long title bar short, and the title bar only names the program.
    // Paths in the texts are read as they are shown everywhere: bytes that are not UTF-8 as
    // replacement characters.
    const QString headline = KVFileName::displayed(title);
    QMessageBox box(QMessageBox::Warning, QCoreApplication::applicationName(), headline,
                    QMessageBox::NoButton, this);
    box.setInformativeText(KVFileName::displayed(text));
    // Bold, as the desktop shows a message box's main text above its advice.
    for (QLabel *label : box.findChildren<QLabel *>()) {
        if (label->text() == headline) {
            QFont font = label->font();
            font.setBold(true);
            label->setFont(font);
        }
    }
    box.setWindowModality(Qt::ApplicationModal);
    QList<QAbstractButton *> made;
    for (const QString &button : buttons)
        made.append(box.addButton(button, made.isEmpty() ? QMessageBox::AcceptRole
                                                         : QMessageBox::RejectRole));
    box.exec();
    const int index = int(made.indexOf(box.clickedButton()));
    return index < 0 ? int(buttons.size()) - 1 : index;
}
