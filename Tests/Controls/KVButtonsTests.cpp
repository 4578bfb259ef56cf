#include "KVControlsTestSupport.h"
#include "KVLinkButtonCell.h"
#include "KVRoundButtonCell.h"

#include <QDesktopServices>
#include <QImage>
#include <QSignalSpy>
#include <QTest>
#include <QUrl>

#include <gtest/gtest.h>

namespace {

class UrlRecorder : public QObject {
    Q_OBJECT
public:
    QList<QUrl> opened;
public slots:
    void open(const QUrl &url) { opened.append(url); }
};

class KVLinkButtonCellTest : public ::testing::Test {
protected:
    void SetUp() override {
        QDesktopServices::setUrlHandler(QStringLiteral("https"), &recorder, "open");
        link.setText(QStringLiteral("kalvora.app"));
        link.resize(link.sizeHint());
    }
    void TearDown() override { QDesktopServices::unsetUrlHandler(QStringLiteral("https")); }

    UrlRecorder recorder;
    KVLinkButtonCell link;
};

} // namespace

TEST(KVRoundButtonCell, LightsUpUnderThePointerOnlyWhenEnabled) {
    KVRoundButtonCell button;
    EXPECT_EQ(button.image(), KVRoundButtonCell::normalImage());
    KVHover(button, true);
    EXPECT_EQ(button.image(), KVRoundButtonCell::pressedImage());
    const QImage lit = button.grab().toImage();
    button.setEnabled(false);
    EXPECT_EQ(button.image(), KVRoundButtonCell::normalImage());
    EXPECT_NE(button.grab().toImage(), lit);
    button.setEnabled(true);
    KVHover(button, false);
    EXPECT_EQ(button.image(), KVRoundButtonCell::normalImage());
}

TEST_F(KVLinkButtonCellTest, OpensItsAddressOnThePressThenClicksAsUsual) {
    QTest::mouseClick(&link, Qt::LeftButton);
    link.setAlternateTitle(QStringLiteral("not an address at all"));
    QTest::mouseClick(&link, Qt::LeftButton);
    link.setAlternateTitle(QStringLiteral("https://kalvora.app"));
    QTest::mouseClick(&link, Qt::RightButton);
    EXPECT_TRUE(recorder.opened.isEmpty());

    link.setAlternateTitle(QStringLiteral("https://kalvora.app"));
    QTest::mousePress(&link, Qt::LeftButton);
    ASSERT_EQ(recorder.opened.size(), 1);
    EXPECT_EQ(recorder.opened.first(), QUrl(QStringLiteral("https://kalvora.app")));
    QSignalSpy clicked(&link, &QAbstractButton::clicked);
    QTest::mouseRelease(&link, Qt::LeftButton);
    EXPECT_EQ(clicked.count(), 1);
    EXPECT_EQ(recorder.opened.size(), 1);
}

TEST_F(KVLinkButtonCellTest, UnderlinedOnlyWhileThePointerIsOverIt) {
    const QImage plain = link.grab().toImage();
    KVHover(link, true);
    EXPECT_TRUE(link.isHighlighted());
    EXPECT_NE(link.grab().toImage(), plain);
    KVHover(link, false);
    EXPECT_FALSE(link.isHighlighted());
    EXPECT_EQ(link.grab().toImage(), plain);
}

#include "KVButtonsTests.moc"
