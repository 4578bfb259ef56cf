// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVToolBar.h"

KVToolBar::KVToolBar(QWidget *parent)
    : QWidget(parent) {
}
