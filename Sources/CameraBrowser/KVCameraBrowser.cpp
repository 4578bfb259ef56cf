// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCameraBrowser.h"

#include "KVAssert.h"
#include "KVCameraViewDocumentView.h"
#include "KVFileName.h"
#include "KVScroller.h"
#include "KVTableCellView.h"
#include "KVTimelineScrollView.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QPainter>
#include <QResizeEvent>
#include <QScrollBar>

#include <algorithm>
#include <cmath>

namespace {

// Rows taken out of view wait here for the next row that comes in; a few are enough for scrolling.
constexpr std::size_t maxIdleViews = 2;

} // namespace

KVCameraBrowser::KVCameraBrowser(QWidget *parent)
    : QAbstractScrollArea(parent) {
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setFrameShape(QFrame::NoFrame);
    verticalScrollBar()->setSingleStep(rowHeight / 5);
    viewport()->setAcceptDrops(true);
    viewport()->setAutoFillBackground(true);
    viewport()->setBackgroundRole(QPalette::Base);
    m_storedData.reserve(10);
}

KVCameraBrowser::~KVCameraBrowser() {
    // The rows' timelines must not call back into a browser that is half gone.
    for (const auto &[row, view] : m_rowViews)
        delete view;
    for (KVTableCellView *view : m_idleViews)
        delete view;
}

void KVCameraBrowser::setDataSource(KVCameraBrowserDataSource *dataSource) {
    m_dataSource = dataSource;
}

void KVCameraBrowser::reload() {
    if (!m_dataSource)
        return;
    // Kept zooms are by row number, and after a reload a row may show another camera.
    m_storedData.clear();
    m_shownPhotos.clear();
    for (const auto &[row, view] : m_rowViews) {
        view->hide();
        m_idleViews.push_back(view);
    }
    m_rowViews.clear();
    m_rowCameras.clear();
    const int count = std::max(0, m_dataSource->numberOfCamerasInBrowser(this));
    m_rowCameras.reserve(count);
    for (int camera = 0; camera < count; ++camera)
        m_rowCameras.push_back(camera);
    updateScrollBar();
    layoutRows();
}

QRect KVCameraBrowser::rowRect(int row) const {
    return QRect(0, row * rowHeight - verticalScrollBar()->value(), viewport()->width(), rowHeight);
}

std::pair<int, int> KVCameraBrowser::visibleRowRange() const {
    const int top = verticalScrollBar()->value();
    const int height = viewport()->height();
    if (numberOfRows() == 0 || height <= 0)
        return {0, -1};
    const int first = std::clamp(top / rowHeight, 0, numberOfRows() - 1);
    const int last = std::clamp((top + height - 1) / rowHeight, 0, numberOfRows() - 1);
    return {first, last};
}

void KVCameraBrowser::updateScrollBar() {
    QScrollBar *bar = verticalScrollBar();
    bar->setPageStep(std::max(1, viewport()->height()));
    bar->setRange(0, std::max(0, numberOfRows() * rowHeight - viewport()->height()));
}

void KVCameraBrowser::layoutRows() {
    // Building a row can resize the rows' scroll views, which must not start another layout.
    if (m_layingOut)
        return;
    m_layingOut = true;
    const auto [first, last] = visibleRowRange();
    for (auto it = m_rowViews.begin(); it != m_rowViews.end();) {
        if (it->first < first || it->first > last) {
            KVTableCellView *view = it->second;
            const int row = it->first;
            it = m_rowViews.erase(it);
            didRemoveRowView(view, row);
        } else {
            ++it;
        }
    }
    for (int row = first; row <= last; ++row) {
        KVTableCellView *&view = m_rowViews[row];
        if (!view)
            view = makeViewForRow(row);
        view->setGeometry(rowRect(row));
        view->show();
    }
    // Later, not now: the row that asked to be removed may be the one whose call this is.
    while (m_idleViews.size() > maxIdleViews) {
        m_idleViews.back()->deleteLater();
        m_idleViews.pop_back();
    }
    m_layingOut = false;
}

void KVCameraBrowser::resizeEvent(QResizeEvent *event) {
    QAbstractScrollArea::resizeEvent(event);
    updateScrollBar();
    layoutRows();
}

void KVCameraBrowser::scrollContentsBy(int, int) {
    layoutRows();
}

KVTableCellView *KVCameraBrowser::makeViewForRow(int row) {
    KVTableCellView *view = nullptr;
    if (!m_idleViews.empty()) {
        view = m_idleViews.back();
        m_idleViews.pop_back();
    } else {
        view = new KVTableCellView(viewport());
        // A wheel turned over a row's scroll bar without sideways movement scrolls the list:
        // the turn goes to the viewport, where the scroll area takes its input (the area
        // itself passes wheel events by).
        if (auto *scroller = qobject_cast<KVScroller *>(view->scrollView()->horizontalScrollBar()))
            scroller->setParentView(viewport());
    }
    // Shown at its place first, so that the timeline is fitted to the row's real width.
    view->setGeometry(rowRect(row));
    view->show();
    const int camera = m_rowCameras.at(row);
    const std::vector<std::shared_ptr<KVImageDataSource>> photos =
        m_dataSource ? m_dataSource->imagesForCameraWithIndex(this, camera)
                     : std::vector<std::shared_ptr<KVImageDataSource>>();
    const QString name =
        m_dataSource ? m_dataSource->nameForCameraWithIndex(this, camera) : QString();
    view->setCameraTitle(name + QStringLiteral(" (%1)").arg(photos.size()));
    view->setToolTip(m_dataSource ? m_dataSource->toolTipForCameraWithIndex(this, camera)
                                  : QString());
    view->setPhotos(photos, this);
    bool isWarning = false;
    const QString note =
        m_dataSource ? m_dataSource->noteForCameraWithIndex(this, camera, &isWarning) : QString();
    view->setNote(note, isWarning);
    // Through the slider's own action, so that the zoom keeps the reference photo in place.
    if (const std::optional<KVRestoreDate> stored = storedDataForRow(row)) {
        view->setSliderRange(stored->minValue, stored->maxValue);
        view->setSliderValue(stored->currentValue);
        view->takeDoubleValueFrom(stored->currentValue);
    }
    if (const std::optional<int> shown = shownPhotoOfRow(row))
        view->showPhotoAtIndex(*shown);
    return view;
}

void KVCameraBrowser::didRemoveRowView(KVTableCellView *view, int row) {
    storeDataForView(view, row);
    view->hide();
    m_idleViews.push_back(view);
}

KVTableCellView *KVCameraBrowser::viewAtRow(int row, bool makeIfNecessary) {
    if (row < 0 || row >= numberOfRows())
        return nullptr;
    if (const auto it = m_rowViews.find(row); it != m_rowViews.end())
        return it->second;
    if (!makeIfNecessary)
        return nullptr;
    KVTableCellView *view = makeViewForRow(row);
    m_rowViews[row] = view;
    view->show();
    return view;
}

void KVCameraBrowser::scrollRowToVisible(int row) {
    if (row < 0 || row >= numberOfRows())
        return;
    const QRect rect = rowRect(row);
    QScrollBar *bar = verticalScrollBar();
    if (rect.top() < 0)
        bar->setValue(row * rowHeight);
    else if (rect.bottom() >= viewport()->height())
        bar->setValue((row + 1) * rowHeight - viewport()->height());
}

void KVCameraBrowser::showPhotos(const std::vector<std::pair<int, int>> &cameraPhotos) {
    for (const auto &[camera, photo] : cameraPhotos) {
        const auto it = std::find(m_rowCameras.begin(), m_rowCameras.end(), camera);
        if (it == m_rowCameras.end())
            continue;
        const int row = int(it - m_rowCameras.begin());
        m_shownPhotos[row] = photo;
        // A row out of view is zoomed when it comes in; its kept zoom would undo that.
        m_storedData.remove(row);
        if (KVTableCellView *view = viewAtRow(row, false))
            view->showPhotoAtIndex(photo);
    }
}

std::optional<int> KVCameraBrowser::shownPhotoOfRow(int row) const {
    const auto it = m_shownPhotos.find(row);
    return it == m_shownPhotos.end() ? std::nullopt : std::optional(it->second);
}

std::vector<int> KVCameraBrowser::rowsWithViews() const {
    std::vector<int> rows;
    for (const auto &[row, view] : m_rowViews)
        rows.push_back(row);
    return rows;
}

int KVCameraBrowser::rowViewCount() const {
    return int(viewport()->findChildren<KVTableCellView *>(Qt::FindDirectChildrenOnly).size());
}

void KVCameraBrowser::storeDataForView(KVTableCellView *view, int row) {
    if (!view)
        return;
    KVRestoreDate data;
    data.minValue = view->sliderMinimum();
    data.maxValue = view->sliderMaximum();
    data.currentValue = view->sliderValue();
    data.leftEdge = view->visibleOrigin();
    m_storedData.insert(row, data);
}

std::optional<KVRestoreDate> KVCameraBrowser::storedDataForRow(int row) const {
    const auto it = m_storedData.constFind(row);
    if (it == m_storedData.constEnd())
        return std::nullopt;
    return *it;
}

qint64 KVCameraBrowser::cameraIndexWithView(const KVCameraViewDocumentView *view) const {
    if (!view)
        return NSNotFound;
    for (const auto &[row, cell] : m_rowViews) {
        if (cell->documentView() == view)
            return row;
    }
    return NSNotFound;
}

KVTableCellView *KVCameraBrowser::viewWithDocumentView(const KVCameraViewDocumentView *view) const {
    const qint64 row = cameraIndexWithView(view);
    return row == NSNotFound ? nullptr : m_rowViews.at(int(row));
}

std::vector<std::shared_ptr<KVImageDataSource>> KVCameraBrowser::photosOfRow(int row) {
    if (const auto it = m_rowViews.find(row); it != m_rowViews.end()) {
        const KVCameraViewDocumentView *timeline = it->second->documentView();
        std::vector<std::shared_ptr<KVImageDataSource>> photos;
        photos.reserve(timeline->imageCount());
        for (int i = 0; i < timeline->imageCount(); ++i)
            photos.push_back(timeline->imageAtIndex(i));
        return photos;
    }
    if (!m_dataSource || row < 0 || row >= numberOfRows())
        return {};
    return m_dataSource->imagesForCameraWithIndex(this, m_rowCameras[row]);
}

Qt::DropAction KVCameraBrowser::validateDrop(const QMimeData *data) const {
    if (!data || !data->hasUrls() || !m_dataSource || m_dataSource->isProcessingPathes())
        return Qt::IgnoreAction;
    return Qt::CopyAction;
}

bool KVCameraBrowser::acceptDrop(const QMimeData *data) {
    if (!data || !m_dataSource)
        return true;
    QList<QUrl> urls;
    for (const QUrl &url : data->urls()) {
        // An entry without a path (a bare "file:") names nothing the model could read.
        const QString path = KVFileName::path(url);
        if (!path.isEmpty())
            urls << KVFileName::url(path);
    }
    m_dataSource->addNewFilesFromURLs(urls);
    return true;
}

void KVCameraBrowser::dragEnterEvent(QDragEnterEvent *event) {
    dragMoveEvent(event);
}

void KVCameraBrowser::dragMoveEvent(QDragMoveEvent *event) {
    const Qt::DropAction action = validateDrop(event->mimeData());
    event->setDropAction(action);
    event->setAccepted(action != Qt::IgnoreAction);
}

void KVCameraBrowser::dropEvent(QDropEvent *event) {
    if (validateDrop(event->mimeData()) == Qt::IgnoreAction) {
        event->ignore();
        return;
    }
    acceptDrop(event->mimeData());
    event->setDropAction(Qt::CopyAction);
    event->accept();
}

QImage KVCameraBrowser::newImageFromProviders(
    const std::vector<std::shared_ptr<KVImageDataSource>> &providers) {
    if (!(providers.size() <= kKVGroupThumbnailImagesCount))
        KVAssertionFailure("[providers count] <= kKVGroupThumbnailImagesCount",
                           "+[KVCameraBrowser newImageFromProviders:]", __FILE__, __LINE__);
    constexpr int side = 256;
    constexpr double inset = 26;
    constexpr double cardMargin = 10;
    // Lower-left-origin numbers; the painter below is turned upright once.
    const QRectF baseRect(inset, inset, side - 2 * inset, side - 2 * inset);
    struct Placement {
        double degrees;
        QPointF shift;
    };
    static constexpr Placement placements[] = {{7, {-2, 3}}, {-5, {3, -1}}};
    static constexpr Placement topPlacement{1, {0, 0}};

    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    // y up from here on, as the numbers above are.
    painter.translate(0, side);
    painter.scale(1, -1);
    const QColor stroke = QColor::fromRgbF(0.3f, 0.3f, 0.3f, 1.0f);
    for (std::size_t i = 0; i < providers.size(); ++i) {
        const QImage thumbnail = providers[i] ? providers[i]->thumbnail() : QImage();
        QRectF fitted = baseRect;
        if (!thumbnail.isNull()) {
            const double aspect = double(thumbnail.height()) / thumbnail.width();
            if (aspect <= 1)
                fitted.setHeight(baseRect.height() * aspect);
            else
                fitted.setWidth(baseRect.width() / aspect);
            fitted.moveCenter(baseRect.center());
        }
        const Placement &placement = i + 1 == providers.size() ? topPlacement : placements[i];
        painter.save();
        painter.translate(fitted.center());
        painter.rotate(placement.degrees);
        painter.translate(placement.shift);
        const QRectF local(-fitted.width() / 2, -fitted.height() / 2, fitted.width(),
                           fitted.height());
        const QRectF card = local.adjusted(-cardMargin, -cardMargin, cardMargin, cardMargin);
        // The shadow falls five below the card on the canvas, whatever the card's turn. Five
        // stacked rings, each a little wider and all faint, stand in for a blur of 4 and add up
        // to about a third of black under the card itself.
        const QPointF shadowOffset = QTransform().rotate(-placement.degrees).map(QPointF(0, -5));
        painter.setPen(Qt::NoPen);
        painter.setBrush(QColor(0, 0, 0, 18));
        for (int ring = 4; ring >= 0; --ring)
            painter.drawRect(card.translated(shadowOffset).adjusted(-ring, -ring, ring, ring));
        painter.setBrush(Qt::white);
        painter.setPen(QPen(stroke, 2));
        painter.drawRect(card);
        if (!thumbnail.isNull()) {
            // Pictures are stored top row first: flipped about the card's centre, they stand up.
            painter.scale(1, -1);
            painter.drawImage(local, thumbnail);
        }
        painter.restore();
    }
    return image;
}

bool KVCameraBrowser::wantsChangeStateTo(KVCameraViewDocumentView *view, KVImageState state,
                                         std::size_t index) {
    // Selection is one per camera, which the timeline settles by itself.
    if (state != KVImageStateEtalon)
        return true;
    for (int i = 0; view && i < view->imageCount(); ++i) {
        const std::shared_ptr<KVImageDataSource> photo = view->imageAtIndex(i);
        if (std::size_t(i) != index && photo && photo->imageState() != KVImageStateNormal) {
            photo->setImageState(KVImageStateNormal);
            break;
        }
    }
    const qint64 ownRow = cameraIndexWithView(view);
    for (int row = 0; row < numberOfRows(); ++row) {
        if (row == ownRow)
            continue;
        for (const std::shared_ptr<KVImageDataSource> &photo : photosOfRow(row)) {
            if (photo && photo->imageState() == KVImageStateEtalon) {
                photo->setImageState(KVImageStateNormal);
                break;
            }
        }
    }
    return true;
}

void KVCameraBrowser::requestToChangeScaleBy(KVCameraViewDocumentView *view, double delta,
                                             double anchorPoint) {
    if (KVTableCellView *cell = viewWithDocumentView(view))
        cell->changeScaleToDelta(delta, anchorPoint);
}

void KVCameraBrowser::didChangeScaleWithoutSlider(KVCameraViewDocumentView *view, double scale) {
    if (KVTableCellView *cell = viewWithDocumentView(view))
        cell->changeSliderValueUsingScale(scale);
}

void KVCameraBrowser::documentViewIsEmpty(KVCameraViewDocumentView *view) {
    const qint64 row = cameraIndexWithView(view);
    if (row != NSNotFound)
        removeRow(int(row));
}

void KVCameraBrowser::removeRow(int row) {
    if (row < 0 || row >= numberOfRows())
        return;
    // The rows below move up by one, and so do their widgets and kept states.
    std::map<int, KVTableCellView *> views;
    for (const auto &[r, view] : m_rowViews) {
        if (r == row) {
            view->hide();
            m_idleViews.push_back(view);
        } else {
            views[r > row ? r - 1 : r] = view;
        }
    }
    m_rowViews = std::move(views);
    QHash<int, KVRestoreDate> stored;
    for (auto it = m_storedData.cbegin(); it != m_storedData.cend(); ++it) {
        if (it.key() != row)
            stored.insert(it.key() > row ? it.key() - 1 : it.key(), it.value());
    }
    m_storedData = std::move(stored);
    m_rowCameras.erase(m_rowCameras.begin() + row);
    updateScrollBar();
    layoutRows();
}
