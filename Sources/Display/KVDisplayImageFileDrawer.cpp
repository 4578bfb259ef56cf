// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVDisplayImageFileDrawer.h"

#include "KVDateText.h"

#include <QFileInfo>
#include <QPainter>

KVDisplayImageFileDrawer::KVDisplayImageFileDrawer(KVDisplayView *view)
    : KVDisplayDrawer(view) {
}

KVImageFileRef KVDisplayImageFileDrawer::imageFile() const {
    return m_imageFile;
}

void KVDisplayImageFileDrawer::setImageFile(const KVImageFileRef &imageFile,
                                            const QString &cameraName) {
    m_cameraName = cameraName;
    m_imageFile = imageFile;
}

const KVTextAttributes &KVDisplayImageFileDrawer::attributes() {
    static const KVTextAttributes attributes = [] {
        KVTextAttributes made;
        made.font = labelsFont();
        made.color = labelsColor();
        made.hasShadow = true;
        made.shadowColor = labelsShadow().color;
        made.shadowOffset = labelsShadow().offset;
        return made;
    }();
    return attributes;
}

std::vector<KVDisplayImageFileDrawer::Label> KVDisplayImageFileDrawer::labels() const {
    if (!m_imageFile || !view())
        return {};
    const QDateTime date = m_imageFile->creationDate().toUTC();
    if (!date.isValid())
        return {};
    const double width = bounds().width();
    const double height = bounds().height();
    const double maxWidth = width - 24.0;
    auto fitted = [maxWidth](const QString &text) {
        if (KVSizeWithAttributes(text, attributes()).width() > maxWidth)
            return trimmedStringWithAttributes(text, attributes(), maxWidth);
        return text;
    };

    std::vector<Label> labels;
    const QString dateText = KVDateText::longDate(date.date());
    const QSizeF dateSize = KVSizeWithAttributes(dateText, attributes());
    labels.push_back({dateText, QRectF(QPointF(12.0, 5.0), dateSize)});

    // The camera's own note of its zone, when it made one, stands beside the wall-clock time.
    QString timeText = date.toString(QStringLiteral("HH:mm:ss"));
    if (const QString offset = m_imageFile->creationDateOffset(); !offset.isEmpty())
        timeText += QLatin1Char(' ') + offset;
    const QSizeF timeSize = KVSizeWithAttributes(timeText, attributes());
    labels.push_back({timeText, QRectF(QPointF(width - 12.0 - timeSize.width(), 5.0), timeSize)});

    const QString name = fitted(m_imageFile->name());
    const QSizeF nameSize = KVSizeWithAttributes(name, attributes());
    labels.push_back({name, QRectF(QPointF(12.0, (height - nameSize.height()) * 0.5), nameSize)});

    const QString camera =
        fitted(m_cameraName.isEmpty() ? m_imageFile->cameraName() : m_cameraName);
    const QSizeF cameraSize = KVSizeWithAttributes(camera, attributes());
    labels.push_back(
        {camera, QRectF(QPointF(12.0, height - 5.0 - cameraSize.height()), cameraSize)});
    return labels;
}

void KVDisplayImageFileDrawer::draw(KVDisplayGraphicsState &state) {
    const std::vector<Label> shown = labels();
    if (shown.empty())
        return;
    state.painter.save();
    state.painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    for (const Label &label : shown)
        KVDrawString(state.painter, label.text, flipped(label.rect).topLeft(), attributes());
    state.painter.restore();
}
