// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVAddFilesAlertPanel.h"

#include "KVFileName.h"
#include "KVFileReportContent.h"
#include "ui_KVAddFilesAlertPanel.h"

#include <QAction>
#include <QClipboard>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QPointer>
#include <QStyle>
#include <QUrl>

#include <algorithm>
#include <utility>

namespace {

enum Column { NameColumn, PathColumn, ReasonColumn, ColumnCount };

} // namespace

std::unique_ptr<KVAddFilesAlertPanel> KVAddFilesAlertPanel::alertPanel() {
    return std::unique_ptr<KVAddFilesAlertPanel>(new KVAddFilesAlertPanel());
}

KVAddFilesAlertPanel::KVAddFilesAlertPanel()
    : QDialog(nullptr) {
    m_tableArray.setColumnCount(ColumnCount);
    m_tableArray.setHorizontalHeaderLabels({tr("Name"), tr("Path"), tr("Reason")});
}

KVAddFilesAlertPanel::~KVAddFilesAlertPanel() = default;

void KVAddFilesAlertPanel::loadWindowIfNeeded() {
    if (!m_ui) {
        m_ui = std::make_unique<Ui::KVAddFilesAlertPanel>();
        m_ui->setupUi(this);
        const int iconSize = style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, this);
        m_ui->iconLabel->setPixmap(
            style()->standardIcon(QStyle::SP_MessageBoxWarning, nullptr, this).pixmap(iconSize));
        m_ui->tableView->setModel(&m_tableArray);
        QHeaderView *header = m_ui->tableView->horizontalHeader();
        header->setStretchLastSection(false);
        header->setSectionResizeMode(PathColumn, QHeaderView::Stretch);
        m_ui->tableView->setColumnWidth(NameColumn, 150);
        m_ui->tableView->setColumnWidth(ReasonColumn, 220);
        // The list can be copied as text, all of it or the chosen rows, for a bug report.
        auto *copy = new QAction(tr("Copy"), m_ui->tableView);
        copy->setShortcut(QKeySequence::Copy);
        copy->setShortcutContext(Qt::WidgetShortcut);
        connect(copy, &QAction::triggered, this, &KVAddFilesAlertPanel::copyToClipboard);
        m_ui->tableView->addAction(copy);
        m_ui->tableView->setContextMenuPolicy(Qt::ActionsContextMenu);
        // The table's own Copy would take only the current cell.
        m_ui->tableView->installEventFilter(this);
        connect(m_ui->okButton, &QPushButton::clicked, this, &KVAddFilesAlertPanel::performOK);
        connect(m_ui->disclosureButton, &QToolButton::clicked, this,
                &KVAddFilesAlertPanel::showHideFilesView);
        // The panel always opens folded.
        m_ui->disclosureButton->setChecked(false);
        showHideFilesView();
    }
    if (!m_contentIsSetUp) {
        windowDidLoad();
        m_contentIsSetUp = true;
    }
}

void KVAddFilesAlertPanel::windowDidLoad() {
    const KVFileReportContent content =
        KVFileReportContent::setUp(static_cast<KVUserInterface::FileReportType>(m_dialogType));
    if (!content.title.isEmpty())
        m_ui->title->setText(content.title);
    if (!content.description.isEmpty())
        m_ui->descriptionLabel->setText(content.description);
    // The title bar names the report, not only the program.
    setWindowTitle(m_ui->title->text());
}

QString KVAddFilesAlertPanel::reportText(const QModelIndexList &rows) const {
    QList<int> chosen;
    for (const QModelIndex &index : rows)
        chosen << index.row();
    if (chosen.isEmpty()) {
        for (int row = 0; row < m_tableArray.rowCount(); ++row)
            chosen << row;
    }
    std::sort(chosen.begin(), chosen.end());
    chosen.erase(std::unique(chosen.begin(), chosen.end()), chosen.end());
    QString text;
    for (int row : std::as_const(chosen)) {
        QStringList cells;
        for (int column = 0; column < ColumnCount; ++column)
            cells << m_tableArray.item(row, column)->text();
        text += cells.join(QLatin1Char('\t')) + QLatin1Char('\n');
    }
    return text;
}

bool KVAddFilesAlertPanel::eventFilter(QObject *watched, QEvent *event) {
    const bool key = event->type() == QEvent::ShortcutOverride || event->type() == QEvent::KeyPress;
    if (m_ui && watched == m_ui->tableView && key &&
        static_cast<QKeyEvent *>(event)->matches(QKeySequence::Copy)) {
        event->accept();
        if (event->type() == QEvent::KeyPress)
            copyToClipboard();
        return true;
    }
    return QDialog::eventFilter(watched, event);
}

void KVAddFilesAlertPanel::copyToClipboard() {
    const QModelIndexList rows =
        m_ui ? m_ui->tableView->selectionModel()->selectedRows() : QModelIndexList();
    QGuiApplication::clipboard()->setText(reportText(rows));
}

void KVAddFilesAlertPanel::addRow(const QString &name, const QString &path, const QString &reason) {
    QList<QStandardItem *> row;
    for (const QString &text : {name, path, reason}) {
        auto *item = new QStandardItem(text);
        item->setEditable(false);
        item->setToolTip(text);
        row << item;
    }
    m_tableArray.appendRow(row);
}

void KVAddFilesAlertPanel::setDetailsInfoFromArray(const QVariantList &entries) {
    loadWindowIfNeeded();
    for (const QVariant &entry : entries) {
        QString path;
        QString name;
        QString reason;
        if (entry.typeId() == QMetaType::QVariantMap) {
            const QVariantMap record = entry.toMap();
            path = record.value(QStringLiteral("path")).toString();
            name = record.value(QStringLiteral("name")).toString();
            reason = record.value(QStringLiteral("error")).toString();
        } else if (entry.typeId() == QMetaType::QUrl) {
            const QUrl url = entry.toUrl();
            path = url.isLocalFile() ? KVFileName::path(url) : url.toString();
        } else if (entry.typeId() == QMetaType::QString) {
            path = entry.toString();
        } else {
            continue;
        }
        if (name.isEmpty())
            name = KVFileName::displayedName(path);
        addRow(name, KVFileName::displayed(path), reason);
    }
}

void KVAddFilesAlertPanel::setDetailsInfoFromArray(const QList<QVariantMap> &records) {
    QVariantList entries;
    entries.reserve(records.size());
    for (const QVariantMap &record : records)
        entries << record;
    setDetailsInfoFromArray(entries);
}

int KVAddFilesAlertPanel::runModal() {
    loadWindowIfNeeded();
    m_presentation = Presentation::Modal;
    setWindowModality(Qt::ApplicationModal);
    return exec();
}

void KVAddFilesAlertPanel::beginSheetModalForWindow(std::unique_ptr<KVAddFilesAlertPanel> panel,
                                                    QWidget *window,
                                                    std::function<void(int)> didEnd) {
    if (!panel)
        return;
    panel->loadWindowIfNeeded();
    KVAddFilesAlertPanel *sheet = panel.release();
    sheet->m_presentation = Presentation::Sheet;
    sheet->m_didEnd = std::move(didEnd);
    if (window) {
        // Owned by the window from here on, so closing the window takes the sheet along; it
        // hangs from the window's top edge, in the middle, as a sheet does.
        QWidget *owner = window->window();
        sheet->setParent(owner, sheet->windowFlags());
        sheet->setWindowModality(Qt::WindowModal);
        const QRect frame = owner->geometry();
        sheet->move(frame.x() + (frame.width() - sheet->width()) / 2, frame.y());
    }
    sheet->QDialog::show();
}

void KVAddFilesAlertPanel::show(std::unique_ptr<KVAddFilesAlertPanel> panel) {
    if (!panel)
        return;
    panel->loadWindowIfNeeded();
    KVAddFilesAlertPanel *window = panel.release();
    window->m_presentation = Presentation::Window;
    window->setWindowModality(Qt::NonModal);
    window->QDialog::show();
    window->raise();
    window->activateWindow();
}

void KVAddFilesAlertPanel::performOK() {
    // Whichever way the panel ends, it ends once.
    switch (std::exchange(m_presentation, Presentation::None)) {
    case Presentation::Modal:
        done(1);
        break;
    case Presentation::Sheet: {
        const QPointer<KVAddFilesAlertPanel> guard(this);
        if (const auto didEnd = std::exchange(m_didEnd, nullptr))
            didEnd(1);
        if (guard) {
            hide();
            deleteLater();
        }
        break;
    }
    case Presentation::Window:
        hide();
        deleteLater();
        break;
    case Presentation::None:
        hide();
        break;
    }
}

void KVAddFilesAlertPanel::reject() {
    performOK();
}

void KVAddFilesAlertPanel::showHideFilesView() {
    if (!m_ui)
        loadWindowIfNeeded();
    QWidget *files = m_ui->filesView;
    const bool unfold = m_ui->disclosureButton->isChecked();
    if (unfold == !files->isHidden())
        return;
    setUpdatesEnabled(false);
    QRect frame = geometry();
    if (!unfold) {
        // A window that was never shown has not laid out its parts yet.
        ensurePolished();
        layout()->activate();
        m_viewFrame = files->geometry();
        frame.setHeight(frame.height() - m_viewFrame.height());
        files->hide();
        // The smaller minimum size must hold before the window may shrink.
        layout()->invalidate();
        layout()->activate();
        setGeometry(frame);
        m_ui->disclosureButton->setArrowType(Qt::RightArrow);
    } else {
        frame.setHeight(frame.height() + m_viewFrame.height());
        setGeometry(frame);
        files->show();
        files->setGeometry(m_viewFrame);
        layout()->invalidate();
        layout()->activate();
        m_ui->disclosureButton->setArrowType(Qt::DownArrow);
    }
    setUpdatesEnabled(true);
}

bool KVAddFilesAlertPanel::isFilesViewUnfolded() const {
    return m_ui && !m_ui->filesView->isHidden();
}

QWidget *KVAddFilesAlertPanel::filesView() const {
    return m_ui ? m_ui->filesView : nullptr;
}
QTableView *KVAddFilesAlertPanel::tableView() const {
    return m_ui ? m_ui->tableView : nullptr;
}
QString KVAddFilesAlertPanel::titleText() const {
    return m_ui ? m_ui->title->text() : QString();
}
