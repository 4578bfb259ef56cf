// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVImageState.h"

#include <cstddef>

class KVCameraViewDocumentView;

// What a timeline asks of and tells the camera browser. The browser owns the rules that span
// cameras (one reference photo in the whole list) and the row's zoom slider.
class KVDocumentViewDelegate {
public:
    virtual ~KVDocumentViewDelegate() = default;

    // A photo of the view wants the state; index is the photo's place in insertion order.
    virtual bool wantsChangeStateTo(KVCameraViewDocumentView *view, KVImageState state,
                                    std::size_t index) = 0;
    // Wheel with the zoom modifier, or a pinch: delta in slider units, anchor in document x.
    virtual void requestToChangeScaleBy(KVCameraViewDocumentView *view, double delta,
                                        double anchorPoint) = 0;
    // The view zoomed by itself (a double click in the scale band); the slider follows.
    virtual void didChangeScaleWithoutSlider(KVCameraViewDocumentView *view, double scale) = 0;
    // Part of the conversation, though the timeline itself never sends it.
    virtual void documentViewIsEmpty(KVCameraViewDocumentView *view) = 0;
};
