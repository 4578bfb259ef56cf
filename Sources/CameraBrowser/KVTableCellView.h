// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#pragma once

#include "KVCalendarUnit.h"
#include "KVImageDataSource.h"
#include "KVObservable.h"

#include <QDateTime>
#include <QPointF>
#include <QRectF>
#include <QString>
#include <QWidget>

#include <memory>
#include <vector>

class KVCameraViewDocumentView;
class KVDocumentViewDelegate;
class KVTimelineScrollView;
class QSlider;

// One camera row: a header with the camera's name and the date in view, a zoom slider, and the
// camera's timeline in a horizontal scroll view under it.
//
// The slider's range and value are scales (pixels per second) held as doubles; the scale it
// applies follows a power curve of its value, so that the coarse end of a range that spans
// seconds to decades gets most of the travel.
class KVTableCellView : public QWidget, private KVObserver {
    Q_OBJECT
public:
    // The height of the "CameraTitleBar" picture.
    static constexpr double headerHeight = 24;
    // The slider keeps its value as a double; the int steps of the widget only place the knob.
    static constexpr int sliderSteps = 100000;

    explicit KVTableCellView(QWidget *parent = nullptr);
    ~KVTableCellView() override;

    QString cameraTitle() const { return m_cameraTitle; }
    void setCameraTitle(const QString &title);
    QString sectionTitle() const { return m_sectionTitle; }
    void setSectionTitle(const QString &title);
    // A note on the header, between the date and the slider; a warning stands out.
    QString note() const { return m_note; }
    bool isNoteWarning() const { return m_isNoteWarning; }
    void setNote(const QString &note, bool isWarning);
    // Zooms to about a minute across the row around the photo, and scrolls it to the middle.
    void showPhotoAtIndex(int index);
    // The row's tool tip shows over the header only (QWidget::setToolTip sets it).

    KVTimelineScrollView *scrollView() const { return m_scrollView; }
    KVCameraViewDocumentView *documentView() const;
    QSlider *slider() const { return m_slider; }

    // Empties the timeline, puts the photos on it in order and fits it into the row, with the
    // slider over the whole range the timeline offers, at its minimum.
    void setPhotos(const std::vector<std::shared_ptr<KVImageDataSource>> &photos,
                   KVDocumentViewDelegate *delegate);

    double sliderMinimum() const { return m_minValue; }
    double sliderMaximum() const { return m_maxValue; }
    double sliderValue() const { return m_value; }
    // A maximum below the minimum is taken as the minimum: the slider then cannot move.
    void setSliderRange(double minimum, double maximum);
    // Moves the knob only; clamped to the range.
    void setSliderValue(double value);

    double powerForConvertion() const;
    double convertSliderValueToScale(double value) const;
    double convertScaleToSliderValue(double scale) const;

    void applySliderValue(double value, double anchorX);
    // The slider's action: zooms to the value, keeping the selected or reference photo in place
    // when it is in view, else the middle of the view.
    void takeDoubleValueFrom(double value);
    void changeScaleToDelta(double delta, double anchorX);
    // The timeline zoomed by itself: the knob follows, nothing is applied.
    void changeSliderValueUsingScale(double scale);

    // The visible part of the timeline's origin.
    QPointF visibleOrigin() const;
    // Lower-left-origin, like all geometry of the row.
    QRectF cameraHeaderBounds() const;
    static QString stringForDate(const QDateTime &date, KVCalendarUnit viewTimeUnit);
    void viewBoundsChanged();

protected:
    bool event(QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    void addObserving();
    void removeObserving();
    void observeValueForKeyPath(const QString &keyPath, KVObservable *object) override;
    void layoutContents();
    void updateKnob();
    void sliderMoved(int position);
    QRectF sliderFrame() const;
    void drawNote(QPainter &painter, const QRectF &header, double left, double right) const;

    KVTimelineScrollView *m_scrollView = nullptr;
    QSlider *m_slider = nullptr;
    QString m_cameraTitle;
    QString m_sectionTitle;
    QString m_note;
    bool m_isNoteWarning = false;
    double m_minValue = 0;
    double m_maxValue = 0;
    double m_value = 0;
};
