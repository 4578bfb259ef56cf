// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include <QString>

// The observable keys, each named once: a misspelt name does not compile, where a misspelt
// string would silently observe nothing.
namespace KVKeyPath {
// KVImageFile
inline const QString imageState = QStringLiteral("imageState");
inline const QString url = QStringLiteral("url");
// KVOperation, KVBaseOperationQueue
inline const QString isFinished = QStringLiteral("isFinished");
inline const QString operationCount = QStringLiteral("operationCount");
// The photo model and the application delegate
inline const QString imageFiles = QStringLiteral("imageFiles");
inline const QString etalon = QStringLiteral("etalon");
inline const QString isSynchronizationPossible = QStringLiteral("isSynchronizationPossible");
inline const QString isEnabledSynchronization = QStringLiteral("isEnabledSynchronization");
inline const QString isProcessingPathes = QStringLiteral("isProcessingPathes");
inline const QString isManualSetEnable = QStringLiteral("isManualSetEnable");
inline const QString fullScreenTitle = QStringLiteral("fullScreenTitle");
inline const QString windowStyleMask = QStringLiteral("window.styleMask");
} // namespace KVKeyPath
