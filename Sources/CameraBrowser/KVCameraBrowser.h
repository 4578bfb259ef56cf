// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVCameraBrowserDataSource.h"
#include "KVDocumentViewDelegate.h"
#include "KVImageDataSource.h"
#include "KVRestoreDate.h"

#include <QAbstractScrollArea>
#include <QHash>
#include <QImage>

#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <vector>

class KVTableCellView;
class QMimeData;

// The list of cameras, one row per camera, each a zoomable timeline. Rows are made only for what
// is in view: with dozens of cameras of thousands of photos, a widget per row would cost more than
// the screen ever shows. A row leaving the view keeps its zoom in storedData and gets it back when
// it returns. The browser is also every timeline's delegate, which is where the rule lives that
// only one photo in the whole list is the reference photo.
class KVCameraBrowser : public QAbstractScrollArea, public KVDocumentViewDelegate {
    Q_OBJECT
public:
    static constexpr qint64 NSNotFound = std::numeric_limits<qint64>::max();
    static constexpr std::size_t kKVGroupThumbnailImagesCount = 3;
    static constexpr int rowHeight = 150;

    explicit KVCameraBrowser(QWidget *parent = nullptr);
    ~KVCameraBrowser() override;

    KVCameraBrowserDataSource *dataSource() const { return m_dataSource; }
    // Not owned. Call reload() to show its cameras.
    void setDataSource(KVCameraBrowserDataSource *dataSource);

    // Forgets every row's kept zoom and builds the rows in view anew.
    void reload();
    int numberOfRows() const { return int(m_rowCameras.size()); }

    // The row's widget when the row is in view; with makeIfNecessary a row out of view gets one
    // too (it then lives until the next layout of the rows).
    KVTableCellView *viewAtRow(int row, bool makeIfNecessary);
    void scrollRowToVisible(int row);
    // Zooms and scrolls each camera's row (by camera index) to its photo (by index), now and
    // whenever the row comes into view, until the next reload.
    void showPhotos(const std::vector<std::pair<int, int>> &cameraPhotos);
    std::optional<int> shownPhotoOfRow(int row) const;
    // The rows that have a widget, and how many row widgets exist, idle ones and those about to
    // be deleted included.
    std::vector<int> rowsWithViews() const;
    int rowViewCount() const;

    void storeDataForView(KVTableCellView *view, int row);
    std::optional<KVRestoreDate> storedDataForRow(int row) const;
    const QHash<int, KVRestoreDate> &storedData() const { return m_storedData; }

    // The row whose timeline is the view, among the rows that have widgets; NSNotFound otherwise.
    qint64 cameraIndexWithView(const KVCameraViewDocumentView *view) const;

    // Copy while no files are being read, nothing otherwise.
    Qt::DropAction validateDrop(const QMimeData *data) const;
    // Hands the dropped files on to the data source; entries without a path are left out.
    bool acceptDrop(const QMimeData *data);

    // A 256 x 256 stack of up to three thumbnails, the last on top. More is a programming error.
    static QImage
    newImageFromProviders(const std::vector<std::shared_ptr<KVImageDataSource>> &providers);

    // KVDocumentViewDelegate
    bool wantsChangeStateTo(KVCameraViewDocumentView *view, KVImageState state,
                            std::size_t index) override;
    void requestToChangeScaleBy(KVCameraViewDocumentView *view, double delta,
                                double anchorPoint) override;
    void didChangeScaleWithoutSlider(KVCameraViewDocumentView *view, double scale) override;
    void documentViewIsEmpty(KVCameraViewDocumentView *view) override;

protected:
    void resizeEvent(QResizeEvent *event) override;
    void scrollContentsBy(int dx, int dy) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    void updateScrollBar();
    // Gives every row in view a widget at its place, and takes them from rows that left.
    void layoutRows();
    KVTableCellView *makeViewForRow(int row);
    void didRemoveRowView(KVTableCellView *view, int row);
    void removeRow(int row);
    QRect rowRect(int row) const;
    std::pair<int, int> visibleRowRange() const;
    KVTableCellView *viewWithDocumentView(const KVCameraViewDocumentView *view) const;
    // The photos a row shows: its timeline's when it has a widget, else the data source's.
    std::vector<std::shared_ptr<KVImageDataSource>> photosOfRow(int row);

    KVCameraBrowserDataSource *m_dataSource = nullptr;
    // Row -> camera index of the data source: a removed row leaves the cameras after it where
    // they are until the next reload.
    std::vector<int> m_rowCameras;
    std::map<int, KVTableCellView *> m_rowViews;
    std::vector<KVTableCellView *> m_idleViews;
    QHash<int, KVRestoreDate> m_storedData;
    std::map<int, int> m_shownPhotos; // row -> photo index
    bool m_layingOut = false;
};
