#pragma once

#include "KVTimeScale.h"

#include <QDateTime>
#include <QPointF>
#include <QRectF>
#include <QSizeF>

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
    int count() const { return int(m_images.size()); }
    QDateTime creationDate(int index) const { return m_images.at(index).date; }
    QRectF imageFrame(int index) const { return m_images.at(index).frame; }
    // The thumbnail's own size changes (fitting, enlarging); the layout only ever moves its x.
    void setImageFrame(int index, const QRectF &frame) { m_images.at(index).frame = frame; }

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

private:
    struct Image {
        QDateTime date;
        double time;
        QRectF frame;
    };

    double maxVisibleOriginX() const;

    std::vector<Image> m_images;
    KVTimeScale m_timeScale{QDateTime(), initialScale};
    double m_minScaleValue = initialMinScaleValue;
    double m_maxScaleValue = initialMaxScaleValue;
    QSizeF m_contentSize;
    double m_frameWidth = 0;
    double m_visibleOriginX = 0;
};
