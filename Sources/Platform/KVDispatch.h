// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <functional>

// Posts work to the Qt main thread without waiting for it. Needs a QCoreApplication.
void KVDispatchMain(std::function<void()> work);
// Posts work to run on the main thread after the given delay.
void KVDispatchMainAfter(double seconds, std::function<void()> work);
bool KVIsMainThread();
