#include "KVBundleImage.h"
#include "KVButtonCell.h"
#include "KVLinkButtonCell.h"
#include "KVRoundButtonCell.h"
#include "KVScroller.h"
#include "KVSliderCell.h"

#include <QApplication>
#include <QDesktopServices>
#include <QEnterEvent>
#include <QImage>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>
#include <QUrl>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include <climits>
#include <memory>

namespace {

// Offscreen widgets get no real pointer: entering and leaving are told to them directly.
void KVHover(QWidget &widget, bool inside) {
    QEnterEvent enter(QPointF(5, 5), QPointF(5, 5), QPointF(5, 5));
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(&widget, inside ? static_cast<QEvent *>(&enter) : &leave);
}

// Whether each channel of a lies within 2 of the mean of b and c.
bool nearHalfway(QRgb a, QRgb b, QRgb c) {
    return std::abs(qRed(a) - (qRed(b) + qRed(c)) / 2.0) <= 2.0 &&
           std::abs(qGreen(a) - (qGreen(b) + qGreen(c)) / 2.0) <= 2.0 &&
           std::abs(qBlue(a) - (qBlue(b) + qBlue(c)) / 2.0) <= 2.0;
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

// A stretched middle slice repeats its columns: any difference between them shows as bands.
TEST(KVBundlePictures, SlicedPicturesHaveUniformMiddles) {
    const struct {
        const char *name;
        int minimumWidth, minimumHeight, firstColumn, lastColumn, firstRow, lastRow;
    } sliced[] = {
        {"ButtonSync_Normal", 11, 32, 4, 6, 0, 31},  {"ButtonSync_Over", 11, 32, 4, 6, 0, 31},
        {"ButtonSync_Pressed", 11, 32, 4, 6, 0, 31}, {"ButtonSync_Disabled", 11, 32, 4, 6, 0, 31},
        {"Slider_Line", 7, 5, 2, 4, 0, 4},           {"Progress_Empty", 15, 7, 3, 11, 0, 6},
        {"Progress_Fill", 8, 6, 3, 5, 2, 4}};
    for (const auto &picture : sliced) {
        SCOPED_TRACE(picture.name);
        const QImage &image = KVBundleImage::named(QString::fromLatin1(picture.name));
        ASSERT_GE(image.width(), picture.minimumWidth);
        ASSERT_GE(image.height(), picture.minimumHeight);
        for (int y = picture.firstRow; y <= picture.lastRow; ++y)
            for (int x = picture.firstColumn + 1; x <= picture.lastColumn; ++x)
                EXPECT_EQ(image.pixel(x, y), image.pixel(picture.firstColumn, y)) << x << "," << y;
    }
}

TEST(KVButtonCell, DrawsThePictureOfItsStateInThreeSlices) {
    const struct {
        bool enabled, down, over;
        const char *picture;
    } states[] = {
        {true, false, false, "ButtonSync_Normal"},    {true, false, true, "ButtonSync_Over"},
        {true, true, false, "ButtonSync_Pressed"},    {true, true, true, "ButtonSync_Pressed"},
        {false, false, false, "ButtonSync_Disabled"}, {false, false, true, "ButtonSync_Disabled"},
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
        EXPECT_EQ(button.isMouseOverButton(), state.over);
        EXPECT_EQ(button.imageName(), QString::fromLatin1(state.picture));
        const QImage &picture = KVBundleImage::named(QString::fromLatin1(state.picture));
        const QImage shot = button.grab().toImage();
        // Caps unscaled at both ends, the middle column stretched between them.
        for (int y : {8, 16, 24}) {
            for (const auto &[x, pictureX] : {std::pair{2, 2}, {60, 5}, {117, 8}}) {
                const QRgb expected = picture.pixel(pictureX, y);
                EXPECT_TRUE(nearHalfway(shot.pixel(x, y), expected, expected)) << x << "," << y;
            }
        }
    }
}

TEST(KVRoundButtonCell, LightsUpUnderThePointerOnlyWhenEnabled) {
    KVRoundButtonCell button;
    KVHover(button, true);
    EXPECT_EQ(button.image(), KVRoundButtonCell::pressedImage());
    button.setEnabled(false);
    EXPECT_EQ(button.image(), KVRoundButtonCell::normalImage());
    button.setEnabled(true);
    KVHover(button, false);
    EXPECT_EQ(button.image(), KVRoundButtonCell::normalImage());
}

TEST(KVLinkButtonCell, OpensItsAddressOnThePressAndIsUnderlinedUnderThePointer) {
    UrlRecorder recorder;
    QDesktopServices::setUrlHandler(QStringLiteral("https"), &recorder, "open");
    const auto unset = qScopeGuard([] { QDesktopServices::unsetUrlHandler("https"); });
    KVLinkButtonCell link;
    link.setText(QStringLiteral("kalvora.app"));
    link.resize(link.sizeHint());
    QTest::mouseClick(&link, Qt::LeftButton);
    link.setAlternateTitle(QStringLiteral("not an address at all"));
    QTest::mouseClick(&link, Qt::LeftButton);
    link.setAlternateTitle(QStringLiteral("https://kalvora.app"));
    QTest::mouseClick(&link, Qt::RightButton);
    EXPECT_TRUE(recorder.opened.isEmpty());

    QTest::mousePress(&link, Qt::LeftButton);
    ASSERT_EQ(recorder.opened.size(), 1);
    EXPECT_EQ(recorder.opened.first(), QUrl(QStringLiteral("https://kalvora.app")));
    QSignalSpy clicked(&link, &QAbstractButton::clicked);
    QTest::mouseRelease(&link, Qt::LeftButton);
    EXPECT_EQ(clicked.count(), 1);
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
        if (turn.reachesList) {
            EXPECT_EQ(list.lastAngleDelta, turn.angleDelta);
        }
    }
    // Without a list a vertical turn goes nowhere.
    auto gone = std::make_unique<WheelRecorder>();
    scroller->setParentView(gone.get());
    gone.reset();
    scroller->setValue(500);
    turnWheel(QPoint(0, -120));
    EXPECT_EQ(scroller->value(), 500);
    EXPECT_EQ(timeline.turns, 0);

    const QRgb slot = KVScroller::slotColor().rgb(), border = KVScroller::borderColor().rgb();
    // Ranges near the int limits must not wrap: a page as long as the range is half the bar, a
    // page a third of the range a third of it.
    for (const int minimum : {0, INT_MIN}) {
        SCOPED_TRACE(minimum);
        scroller->setRange(minimum, INT_MAX);
        scroller->setPageStep(INT_MAX);
        scroller->setValue(minimum);
        QImage image = scroller->grab().toImage().convertToFormat(QImage::Format_RGB32);
        const int middle = image.height() / 2;
        const int knobEnd = int(image.width() * (minimum == 0 ? 0.5 : 1.0 / 3.0));
        EXPECT_NE(image.pixel(knobEnd - 6, middle), slot);
        EXPECT_EQ(image.pixel(knobEnd + 6, middle), slot);
        // No arrow buttons: the slot runs to both ends, the knob sits at the far one.
        scroller->setValue(INT_MAX);
        image = scroller->grab().toImage().convertToFormat(QImage::Format_RGB32);
        EXPECT_EQ(image.pixel(20, 0), border);
        EXPECT_EQ(image.pixel(20, image.height() - 1), border);
        EXPECT_EQ(image.pixel(0, middle), slot);
        EXPECT_NE(image.pixel(image.width() - 10, middle), slot);
    }
}

// The knob looks pressed only while enabled, and the track is inset from both ends. Disabled, it
// lies halfway between its enabled look and the background, and the knob halfway between its
// enabled look and what is drawn beneath it.
TEST(KVSliderCell, PressedKnobTrackInsetAndDisabledHalfOpacity) {
    const QImage enabled = shotOf(true, false);
    const QImage disabled = shotOf(false, false);
    EXPECT_NE(shotOf(true, true), enabled);
    EXPECT_EQ(shotOf(false, true), disabled);
    // The knob moved to the far end reveals the track beneath the middle.
    const QImage enabledBare = shotOf(true, false, 100);
    const QImage disabledBare = shotOf(false, false, 100);
    const QRgb background = enabled.pixel(0, 0);
    const int middle = enabled.height() / 2;
    EXPECT_EQ(enabled.pixel(3, middle), background);
    EXPECT_EQ(enabled.pixel(enabled.width() - 4, middle), background);
    ASSERT_EQ(disabled.pixel(0, 0), background);
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
