// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QDialog>
#include <QRect>
#include <QStandardItemModel>
#include <QVariantList>
#include <QVariantMap>

#include <functional>
#include <memory>

class QTableView;

namespace Ui {
class KVAddFilesAlertPanel;
}

// The report of files the program could not handle: a bold title, an explanatory line and the
// list of files (name, path and reason) in a part of the window that folds away. The window is
// set up on first use, like a window loaded from its layout.
class KVAddFilesAlertPanel : public QDialog {
    Q_OBJECT

public:
    enum DialogType { NotAddedFiles = 0, NotChangedFiles = 1 };

    static std::unique_ptr<KVAddFilesAlertPanel> alertPanel();
    ~KVAddFilesAlertPanel() override;

    int dialogType() const { return m_dialogType; }
    // Before the window is first used.
    void setDialogType(int type) { m_dialogType = type; }

    // Adds the entries to the list: records with "name", "path" and "error", file URLs, or
    // paths. Anything else is left out.
    void setDetailsInfoFromArray(const QVariantList &entries);
    void setDetailsInfoFromArray(const QList<QVariantMap> &records);

    // Runs the panel as the application's modal window; 1 after OK.
    int runModal();
    // Both take the panel over: it deletes itself once OK has ended it. A sheet is modal to
    // the window; didEnd receives the code, 1 after OK.
    static void beginSheetModalForWindow(std::unique_ptr<KVAddFilesAlertPanel> panel,
                                         QWidget *window, std::function<void(int)> didEnd);
    static void show(std::unique_ptr<KVAddFilesAlertPanel> panel);

    void performOK();
    // The disclosure button's action: folds the files view away or brings it back, keeping the
    // window's top edge where it is.
    void showHideFilesView();

    bool isFilesViewUnfolded() const;
    // The files view's frame remembered while it is folded away.
    QRect viewFrame() const { return m_viewFrame; }
    QWidget *filesView() const;
    QTableView *tableView() const;
    const QStandardItemModel &tableArray() const { return m_tableArray; }
    QString titleText() const;
    // The rows as lines of name, path and reason split by tabs: the given rows, or all when
    // none are given. Copy puts the selected rows (or all) on the clipboard this way.
    QString reportText(const QModelIndexList &rows = {}) const;
    void copyToClipboard();

    // Escape and the close box end the panel the way OK does.
    void reject() override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    enum class Presentation { None, Modal, Sheet, Window };

    KVAddFilesAlertPanel();
    void loadWindowIfNeeded();
    void windowDidLoad();
    void addRow(const QString &name, const QString &path, const QString &reason);

    std::unique_ptr<Ui::KVAddFilesAlertPanel> m_ui;
    bool m_contentIsSetUp = false;
    int m_dialogType = NotAddedFiles;
    QRect m_viewFrame;
    QStandardItemModel m_tableArray;
    Presentation m_presentation = Presentation::None;
    std::function<void(int)> m_didEnd;
};
