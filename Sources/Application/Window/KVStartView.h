// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVStringDrawing.h"

#include <QImage>
#include <QList>
#include <QRectF>
#include <QUrl>
#include <QWidget>

#include <functional>

class KVAppDelegate;
class QMimeData;

// The empty window: a camera picture over the invitation to drop photos, and the drop target
// that hands the dropped files on. File types are not looked at here; refused files are
// reported later, one by one.
class KVStartView : public QWidget {
    Q_OBJECT

public:
    using DropHandler = std::function<void(const QList<QUrl> &urls)>;

    // Where the picture and the text go, in lower-left-origin coordinates of the view.
    struct Layout {
        QRectF imageRect;
        QRectF textRect;
    };

    explicit KVStartView(QWidget *parent = nullptr);

    void setDropHandler(DropHandler handler) { m_dropHandler = std::move(handler); }
    // Drops go to the delegate's addNewFilesFromURLs.
    void setAppDelegate(KVAppDelegate *delegate);

    static QColor backgroundColor();
    static QColor colorForText();
    static const QImage &backgroundImage();
    static const QString &backgroundText();
    static const KVTextAttributes &backgroundTextAttributes();

    static Layout layoutFor(const QSizeF &bounds, const QSizeF &imageSize, const QSizeF &textSize);
    // The layout of this view with its own picture and text.
    Layout currentLayout() const;

    // Qt::CopyAction when the drag carries at least one file name, Qt::IgnoreAction otherwise.
    static Qt::DropAction dragOperation(const QMimeData *data);
    // The dropped names as file URLs, in the drag's order, without the ones with no path.
    static QList<QUrl> droppedFileURLs(const QMimeData *data);

protected:
    void paintEvent(QPaintEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;

private:
    DropHandler m_dropHandler;
};
