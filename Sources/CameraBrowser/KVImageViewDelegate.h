// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVImageState.h"

class KVImageView;

// Asked by a thumbnail before it changes its photo's state.
class KVImageViewDelegate {
public:
    virtual ~KVImageViewDelegate() = default;
    virtual bool wantsChangeStateTo(KVImageView *imageView, KVImageState state) = 0;
};
