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
// KVOperationQueue, KVSynchronizationOperation
inline const QString processedImagesCount = QStringLiteral("processedImagesCount");
inline const QString allImagesCountOnStartOfCancel =
    QStringLiteral("allImagesCountOnStartOfCancel");
inline const QString isOperationsCancelled = QStringLiteral("isOperationsCancelled");
inline const QString isSynchronizationInProcess = QStringLiteral("isSynchronizationInProcess");
inline const QString operationType = QStringLiteral("operationType");
// KVSyncController
inline const QString runState = QStringLiteral("runState");
// KVUndoManager
inline const QString canUndo = QStringLiteral("canUndo");
inline const QString canRedo = QStringLiteral("canRedo");
// KVCameraViewDocumentView
inline const QString dateOfVisibleRect = QStringLiteral("dateOfVisibleRect");
inline const QString visibleOrigin = QStringLiteral("visibleOrigin");
inline const QString scale = QStringLiteral("scale");
inline const QString currentCalendarUnit = QStringLiteral("currentCalendarUnit");
// KVManualDateTimeViewController
inline const QString date = QStringLiteral("date");
inline const QString time = QStringLiteral("time");
inline const QString fullDate = QStringLiteral("fullDate");
inline const QString isEtalonDateSet = QStringLiteral("isEtalonDateSet");
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
