// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVBundleImage.h"
#include "KVButtonCell.h"
#include "KVLinkButtonCell.h"
#include "KVScroller.h"
#include "KVSliderCell.h"

#include <QApplication>
#include <QDesktopServices>
#include <QEnterEvent>
#include <QImage>
#include <QScopeGuard>
#include <QTest>
#include <QUrl>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <climits>

namespace {

// Offscreen widgets get no real pointer: entering and leaving are told to them directly.
void KVHover(QWidget &widget, bool inside) {
    QEnterEvent enter(QPointF(5, 5), QPointF(5, 5), QPointF(5, 5));
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(&widget, inside ? static_cast<QEvent *>(&enter) : &leave);
}

// Whether each channel of a lies within 2 of the mean of b and c.
bool nearHalfway(QRgb a, QRgb b, QRgb c) {
    const auto near = [](int x, int y, int z) { return std::abs(x - (y + z) / 2.0) <= 2.0; };
    return near(qRed(a), qRed(b), qRed(c)) && near(qGreen(a), qGreen(b), qGreen(c)) &&
           near(qBlue(a), qBlue(b), qBlue(c));
}

class UrlRecorder : public QObject {
    Q_OBJECT
public:
    QList<QUrl> opened;
public slots:
    void open(const QUrl &url) { opened.append(url); }
};

// Stands in for the camera list: counts the wheel turns it is handed.
class WheelRecorder : public QWidget {
public:
    int turns = 0;
    QPoint lastAngleDelta;
    void wheelEvent(QWheelEvent *event) override {
        ++turns;
        lastAngleDelta = event->angleDelta();
        event->accept();
    }
};

QImage shotOf(bool enabled, bool down, int value = 50) {
    KVSliderCell slider;
    slider.setRange(0, 100);
    slider.setValue(value);
    slider.resize(160, 21);
    slider.setEnabled(enabled);
    slider.setSliderDown(down);
    return slider.grab().toImage().convertToFormat(QImage::Format_RGB32);
}

} // namespace

TEST(KVButtonCell, DrawsThePictureOfItsStateInThreeSlices) {
    const struct {
        bool enabled, down, over;
        const char *picture;
    } states[] = {{true, false, false, "ButtonSync_Normal"},
                  {true, false, true, "ButtonSync_Over"},
                  {true, true, false, "ButtonSync_Pressed"},
                  {true, true, true, "ButtonSync_Pressed"},
                  {false, true, true, "ButtonSync_Disabled"}};
    for (const auto &state : states) {
        SCOPED_TRACE(testing::Message() << state.enabled << state.down << state.over);
        KVButtonCell button;
        button.resize(120, 32);
        button.setEnabled(state.enabled);
        button.setDown(state.down);
        // A pointer that came and went leaves no hover look behind.
        KVHover(button, true);
        KVHover(button, state.over);
        EXPECT_EQ(button.imageName(), QString::fromLatin1(state.picture));
        const QImage &picture = KVBundleImage::named(QString::fromLatin1(state.picture));
        const QImage shot = button.grab().toImage();
        // Caps unscaled at both ends, the middle column stretched between them.
        for (int y : {8, 16, 24}) {
            for (const auto &[x, pictureX] : {std::pair{2, 2}, {60, 5}, {117, 8}}) {
                const QRgb want = picture.pixel(pictureX, y);
                EXPECT_TRUE(nearHalfway(shot.pixel(x, y), want, want)) << x << "," << y;
            }
        }
    }
}

TEST(KVLinkButtonCell, OpensItsAddressOnThePressAndIsUnderlinedUnderThePointer) {
    UrlRecorder recorder;
    QDesktopServices::setUrlHandler(QStringLiteral("https"), &recorder, "open");
    const auto unset = qScopeGuard([] { QDesktopServices::unsetUrlHandler("https"); });
    KVLinkButtonCell link;
    link.setText(QStringLiteral("kalvora.app"));
    link.resize(link.sizeHint());
    QTest::mouseClick(&link, Qt::LeftButton);
    link.setAlternateTitle(QStringLiteral("https://kalvora.app"));
    QTest::mouseClick(&link, Qt::RightButton);
    EXPECT_TRUE(recorder.opened.isEmpty());

    QTest::mousePress(&link, Qt::LeftButton);
    ASSERT_EQ(recorder.opened.size(), 1);
    EXPECT_EQ(recorder.opened.first(), QUrl(QStringLiteral("https://kalvora.app")));
    QTest::mouseRelease(&link, Qt::LeftButton);
    EXPECT_EQ(recorder.opened.size(), 1);

    const QImage plain = link.grab().toImage();
    KVHover(link, true);
    EXPECT_NE(link.grab().toImage(), plain);
    KVHover(link, false);
    EXPECT_EQ(link.grab().toImage(), plain);
}

// Only turns without sideways movement go to the list, never to the timeline beneath.
TEST(KVScroller, HandsVerticalTurnsToTheListAndDrawsAKnobAsLongAsThePage) {
    WheelRecorder list, timeline;
    KVScroller *scroller = new KVScroller(&timeline);
    scroller->setRange(0, 1000);
    scroller->setPageStep(100);
    scroller->resize(200, 15);
    scroller->setParentView(&list);
    const auto turnWheel = [scroller](QPoint angleDelta) {
        const QPointF position(100, 7);
        QWheelEvent event(position, scroller->mapToGlobal(position), QPoint(), angleDelta,
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(scroller, &event);
    };
    const struct {
        QPoint angleDelta;
        bool reachesList;
    } turns[] = {{{0, -120}, true}, {{0, 120}, true}, {{-120, 0}, false}, {{120, -60}, false}};
    for (const auto &turn : turns) {
        SCOPED_TRACE(testing::Message() << turn.angleDelta.x() << "," << turn.angleDelta.y());
        list.turns = 0;
        scroller->setValue(500);
        turnWheel(turn.angleDelta);
        EXPECT_EQ(list.turns, turn.reachesList ? 1 : 0);
        EXPECT_EQ(scroller->value() == 500, turn.reachesList);
        EXPECT_EQ(list.lastAngleDelta == turn.angleDelta, turn.reachesList);
    }
    const QRgb slot = KVScroller::slotColor().rgb();
    // Ranges near the int limits must not wrap: a page as long as the range is half the bar, a
    // page a third of the range a third of it.
    for (const int minimum : {0, INT_MIN}) {
        SCOPED_TRACE(minimum);
        scroller->setRange(minimum, INT_MAX);
        scroller->setPageStep(INT_MAX);
        scroller->setValue(minimum);
        const QImage image = scroller->grab().toImage().convertToFormat(QImage::Format_RGB32);
        const int middle = image.height() / 2;
        const int knobEnd = int(image.width() * (minimum == 0 ? 0.5 : 1.0 / 3.0));
        EXPECT_NE(image.pixel(knobEnd - 6, middle), slot);
        EXPECT_EQ(image.pixel(knobEnd + 6, middle), slot);
    }
}

// Pressed look only while enabled; the track inset; disabled, everything at half opacity.
TEST(KVSliderCell, PressedKnobTrackInsetAndDisabledHalfOpacity) {
    const QImage enabled = shotOf(true, false), disabled = shotOf(false, false);
    EXPECT_NE(shotOf(true, true), enabled);
    EXPECT_EQ(shotOf(false, true), disabled);
    // The knob moved to the far end reveals the track beneath the middle.
    const QImage enabledBare = shotOf(true, false, 100), disabledBare = shotOf(false, false, 100);
    const QRgb background = enabled.pixel(0, 0);
    const int middle = enabled.height() / 2;
    EXPECT_EQ(enabled.pixel(3, middle), background);
    EXPECT_EQ(enabled.pixel(enabled.width() - 4, middle), background);
    int track = 0;
    long knobX = 0, knobY = 0, knob = 0;
    for (int y = 0; y < enabled.height(); ++y) {
        for (int x = 0; x < enabled.width() / 2 + 20; ++x) {
            const QRgb full = enabled.pixel(x, y);
            if (full != enabledBare.pixel(x, y)) {
                knobX += x, knobY += y, ++knob;
                continue;
            }
            track += full != background;
            EXPECT_TRUE(nearHalfway(disabled.pixel(x, y), full, background)) << x << "," << y;
        }
    }
    EXPECT_GT(track, 100);
    ASSERT_GT(knob, 50);
    const int x = knobX / knob, y = knobY / knob;
    EXPECT_TRUE(nearHalfway(disabled.pixel(x, y), enabled.pixel(x, y), disabledBare.pixel(x, y)));
}

#include "KVControlsTests.moc"
