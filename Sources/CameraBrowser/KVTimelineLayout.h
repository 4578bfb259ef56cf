// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVTimeScale.h"

#include <QDateTime>
#include <QPointF>
#include <QRectF>
#include <QSizeF>

#include <QString>

#include <optional>
#include <vector>

// The geometry of one camera's timeline, without a widget: where each thumbnail stands at a scale,
// how wide the document is, fitting, zooming about an anchor, following a resize and hit-testing.
// Coordinates are the document's own (y up, x = 0 at the first photo), all doubles: ten years at
// the largest scale is wider than 10^11 pixels. Thumbnails are known by their index in insertion
// order, in which a later one lies above an earlier one.
class KVTimelineLayout {
public:
    static constexpr double initialScale = 1.0;
    static constexpr double initialMinScaleValue = 1.0;
    static constexpr double initialMaxScaleValue = 200.0;
    // Through the middle of a thumbnail of the provisional height (76 high at y 8).
    static constexpr double axisY = 76 * 0.5 + 8;

    // Frame x is left at 0 until the next setScale, as the view does: the row fits the timeline
    // once all its photos are in.
    int insertImage(const QDateTime &creationDate, const QRectF &frame);
    // The later thumbnails move down one index.
    void removeImage(int index);
    void removeAllImages();
    int count() const { return int(m_images.size()); }
    QDateTime creationDate(int index) const { return m_images.at(index).date; }
    QRectF imageFrame(int index) const { return m_images.at(index).frame; }
    // The thumbnail's own size changes (fitting, enlarging); the layout only ever moves its x.
    void setImageFrame(int index, const QRectF &frame);

    // Earliest and latest creation dates; invalid without thumbnails.
    QDateTime firstImageDate() const;
    QDateTime lastImageDate() const;
    // The last thumbnail in insertion order, not necessarily the latest one.
    std::optional<int> lastImageView() const;
    const KVTimeScale &timeScale() const { return m_timeScale; }

    double scale() const { return m_timeScale.scale(); }
    // Moves every thumbnail to its date at the scale; no clamping to the slider's range.
    void setScale(double scale);
    // With fitFrame, the document is resized to its needed width and scrolled so that the instant
    // under anchorX (document x at the old scale) stays where it was on the screen.
    void setScale(double scale, bool fitFrame, double anchorX);
    double minScaleValue() const { return m_minScaleValue; }
    double maxScaleValue() const { return m_maxScaleValue; }

    // The enclosing scroll view's content area.
    QSizeF contentSize() const { return m_contentSize; }
    void setContentSize(const QSizeF &size) { m_contentSize = size; }
    double frameWidth() const { return m_frameWidth; }
    void setFrameWidth(double width);
    // The document x at the left edge of the content area, kept within the document as a scroll
    // view keeps it.
    double visibleOriginX() const { return m_visibleOriginX; }
    void setVisibleOriginX(double x);
    QRectF visibleRect() const;

    double scaleHeight() const { return 0.2 * m_contentSize.height(); }
    double imageHeight() const { return m_contentSize.height() - scaleHeight() - 10; }
    double selectedImageHeight() const { return imageHeight() + 10; }

    double neededViewWidth() const;
    double neededViewWidthAtScale(double scale) const;
    void sizeToFit();
    // The content area changed from oldSize to newSize. The document's width follows the content
    // area's change first, as a width-resizable document does.
    void resizeWithOldSuperviewSize(const QSizeF &oldSize, const QSizeF &newSize);

    bool isScalePossible() const;
    // Instants in seconds since 1970, both ends included, in insertion order.
    std::vector<int> imageViewsBetweenStartTime(double startTime, double endTime) const;
    std::optional<int> lastImageViewBetweenStartTime(double startTime, double endTime) const;
    // The topmost thumbnail whose frame holds the point.
    std::optional<int> imageHitTest(const QPointF &point) const;
    // The thumbnails whose frames overlap the document's x range [left, right), in insertion
    // order, so that painting them in turn puts a later one above an earlier one. Found by a
    // binary search once the thumbnails stand at their dates.
    std::vector<int> imagesIntersectingXRange(double left, double right) const;
    struct ShownImage {
        int index;
        // The document x range from the first to the last column of it that shows.
        double visibleLeft;
        double visibleRight;
        // Whether any of those columns lies inside the picture, pictureInset in from the frame.
        bool pictureShows;
    };
    // Of those, the ones that show in at least one pixel column, not hidden behind later
    // thumbnails, in insertion order: what a view has to draw. Columns are whole pixels counted
    // from pixelOrigin (the visible origin). At a fitted scale thousands of thumbnails overlap in
    // a few hundred pixels: no more are left than there are columns, and of most only a sliver of
    // the border shows.
    std::vector<ShownImage> imagesShownInXRange(double left, double right, double pixelOrigin,
                                                double pictureInset = 3.0) const;

    struct ScaleSpanZoom {
        double scale;
        double frameWidth;
        double visibleOriginX;
    };
    // A double click at the point: inside the scale band (top fifth, both edges included), the
    // span of the current unit under it fills the content width, starting at the left edge. No
    // clamping to the slider's range; the scroll is kept within the new width. Nothing outside
    // the band or for a span of no length.
    std::optional<ScaleSpanZoom> zoomToScaleSpanAt(const QPointF &point) const;

    struct Tick {
        double x;
        QString label;
    };
    struct TickRow {
        // Every label is centred in a cell this wide from its tick: the length of the first span,
        // so that month labels are all centred on the first month's length.
        double cellWidth = 0;
        std::vector<Tick> ticks;
    };
    // The ticks of the current unit for the document's x range [left, right): from the start of
    // the span under left, one step of the unit apart, at least one.
    TickRow ticksForXRange(double left, double right) const;

private:
    struct Image {
        QDateTime date;
        double time;
        QRectF frame;
    };

    double maxVisibleOriginX() const;
    double maxVisibleOriginXForWidth(double frameWidth) const;

    std::vector<Image> m_images;
    // Indexes by date, ties in insertion order: the x order of the frames once laid out.
    std::vector<int> m_dateOrder;
    // An upper bound of the thumbnails' widths: it never shrinks, which only widens a search.
    double m_maxImageWidth = 0;
    // False from an insertion or a moved frame until the next layout: the frames' x are then not
    // in date order and the x range search walks every thumbnail.
    bool m_framesFollowDates = true;
    KVTimeScale m_timeScale{QDateTime(), initialScale};
    double m_minScaleValue = initialMinScaleValue;
    double m_maxScaleValue = initialMaxScaleValue;
    QSizeF m_contentSize;
    double m_frameWidth = 0;
    double m_visibleOriginX = 0;
};
