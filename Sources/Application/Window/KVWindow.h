// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVAppDelegate.h"
#include "KVUserInterface.h"

#include <QMainWindow>
#include <QPointer>

#include <memory>

class KVAboutBox;
class KVButtonCell;
class KVCameraBrowser;
class KVCameraBrowserAdapter;
class KVDisplayView;
class KVHelpWindow;
class KVLockView;
class KVManualDateTimeView;
class KVRoundButtonCell;
class KVStartView;
class KVToolBar;
class QAction;
class QStackedWidget;

// The main window: the tool bar with the status display, the round manual-date button and the
// Sync button; below it the camera list, or the drop area while no photos are loaded. It owns
// the application delegate and is the window that delegate talks to; the widgets only draw and
// forward input, so everything it can do a test can do through the delegate.
class KVWindow : public QMainWindow, public KVUserInterface, public KVObserver {
    Q_OBJECT
public:
    explicit KVWindow(QWidget *parent = nullptr);
    ~KVWindow() override;

    KVAppDelegate &appDelegate() { return *m_delegate; }
    // Launch: the delegate's awakeFromNib and applicationDidFinishLaunching, in that order.
    void launch(const QString &bundlePath);
    // The operating system's request to open files: each path, in order, as a file URL.
    void openFiles(const QStringList &paths);

    KVCameraBrowser *cameraBrowser() const { return m_browser; }
    KVDisplayView *displayView() const { return m_display; }
    KVButtonCell *syncButton() const { return m_syncButton; }
    KVButtonCell *suggestButton() const { return m_suggestButton; }
    KVRoundButtonCell *manualButton() const { return m_manualButton; }
    KVStartView *startView() const { return m_startView; }
    KVLockView *lockView() const { return m_lockView; }
    KVManualDateTimeView *manualDateTimeView();
    KVToolBar *toolBar() const { return m_toolBar; }
    KVHelpWindow *helpWindow() const;
    QAction *undoAction() const { return m_undoAction; }
    QAction *redoAction() const { return m_redoAction; }
    QAction *addFilesAction() const { return m_addFilesAction; }
    QAction *addFolderAction() const { return m_addFolderAction; }
    // The Add Files dialog's filters: the photos of every readable type, in any case, and all
    // files.
    static QStringList addFilesNameFilters();
    QAction *removeFilesAction() const { return m_removeFilesAction; }
    QAction *quitAction() const { return m_quitAction; }
    QAction *verboseLoggingAction() const { return m_verboseLoggingAction; }
    QAction *fullScreenAction() const { return m_fullScreenAction; }
    QAction *suggestMatchesAction() const { return m_suggestMatchesAction; }
    // Enables the menu items by the delegate's rules; run whenever what they depend on changes.
    void validateMenuItems();

    // KVUserInterface
    void addLockView() override;
    void removeLockView() override;
    bool isCloseButtonEnabled() const override { return m_closeButtonEnabled; }
    void setCloseButtonEnabled(bool enabled) override;
    void setStartViewShown(bool shown) override;
    void reloadBrowser() override;
    QString syncButtonTitle() const override;
    void setSyncButtonTitle(const QString &title) override;
    void beep() override;
    void displayString(const QString &text) override;
    void displayImageFile(const KVImageFileRef &file) override;
    void displaySyncProcess() override;
    void showFileReport(FileReportType type, const QList<QVariantMap> &records) override;
    void closeManualDatePopover() override;
    int runAlert(const QString &title, const QString &text, const QStringList &buttons) override;
    void showPhotosInBrowser(const std::vector<std::pair<int, int>> &cameraPhotos) override;

    void observeValueForKeyPath(const QString &keyPath, KVObservable *object) override;

public slots:
    void addFiles();
    void addFolder();
    void removeFiles();
    void terminate();
    void undo();
    void redo();
    void toggleFullScreen();
    void showAboutBox();
    void openManual();
    void contactSupportByEMail();
    void gotoWebsite();
    void showManualDatePopover();
    void suggestMatches();

protected:
    void closeEvent(QCloseEvent *event) override;
    void changeEvent(QEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void buildMenus();
    void buildContent();
    void layOutToolBar();
    void windowDidChangeFullScreen(bool isFullScreen);
    void followDelegate();

    std::unique_ptr<KVAppDelegate> m_delegate;
    std::unique_ptr<KVCameraBrowserAdapter> m_browserDataSource;
    KVToolBar *m_toolBar = nullptr;
    KVDisplayView *m_display = nullptr;
    KVButtonCell *m_syncButton = nullptr;
    KVButtonCell *m_suggestButton = nullptr;
    KVRoundButtonCell *m_manualButton = nullptr;
    QStackedWidget *m_stack = nullptr;
    KVCameraBrowser *m_browser = nullptr;
    KVStartView *m_startView = nullptr;
    KVLockView *m_lockView = nullptr;
    KVManualDateTimeView *m_manualDateTimeView = nullptr;
    QPointer<KVAboutBox> m_aboutBox;
    QPointer<KVHelpWindow> m_helpWindow;
    QAction *m_addFilesAction = nullptr;
    QAction *m_addFolderAction = nullptr;
    QAction *m_removeFilesAction = nullptr;
    QAction *m_quitAction = nullptr;
    QAction *m_undoAction = nullptr;
    QAction *m_redoAction = nullptr;
    QAction *m_fullScreenAction = nullptr;
    QAction *m_verboseLoggingAction = nullptr;
    QAction *m_suggestMatchesAction = nullptr;
    bool m_closeButtonEnabled = true;
    std::shared_ptr<int> m_lifeToken = std::make_shared<int>(0);
};
