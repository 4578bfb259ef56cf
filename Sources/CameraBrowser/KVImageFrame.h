// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVImageState.h"

#include <QPointF>
#include <QRectF>
#include <QSizeF>

#include <optional>

// The frame of one photo thumbnail on a timeline, in its timeline's coordinates (y up): fitted to
// the thumbnail's aspect ratio, grown outward for the selected and reference looks. Kept apart
// from the widget so that the widget only draws it.
class KVImageFrame {
public:
    // Every thumbnail starts with this frame; fitting keeps its height and follows the picture.
    static constexpr QRectF provisionalFrame{0, 8, 150, 76};
    static constexpr double fitInset = 3.0;
    static constexpr double growth = 2.0;

    KVImageFrame() = default;
    explicit KVImageFrame(const QRectF &frame)
        : m_frame(frame) {}

    QRectF frame() const { return m_frame; }
    void setFrame(const QRectF &frame) { m_frame = frame; }
    bool enlarged() const { return m_enlarged; }
    void setEnlarged(bool enlarged) { m_enlarged = enlarged; }

    // 3.0, or 5.0 when enlarged, so that the picture stays put while the border grows outward.
    double imageInset() const { return m_enlarged ? 5.0 : 3.0; }
    // Where the thumbnail is drawn, in the item's own coordinates.
    QRectF imageBounds() const;

    // The frame that shows a thumbnail of that pixel size at its own aspect ratio; nullopt is no
    // photo. A thumbnail without pixels has no aspect ratio and keeps the rounded frame.
    QRectF frameToFitImage(const std::optional<QSizeF> &thumbnailPixelSize) const;
    static QPointF originToCenterSize(const QSizeF &size, const QRectF &rect);

    // Each returns whether the frame changed, i.e. whether the item needs a redraw.
    bool enlargeFrame();
    bool condenseFrame();

    // A new photo: the fitted frame, grown at once for a selected or reference photo. An enlarged
    // frame given a normal photo stays enlarged, as the item has always done.
    void setImage(const std::optional<QSizeF> &thumbnailPixelSize, KVImageState state);
    // The photo's state changed: selected and reference photos are shown enlarged.
    bool imageStateDidChange(KVImageState state);

private:
    QRectF m_frame = provisionalFrame;
    bool m_enlarged = false;
};
