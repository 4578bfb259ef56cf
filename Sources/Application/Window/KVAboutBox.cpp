// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVAboutBox.h"

#include "KVBundleImage.h"
#include "KVLinkButtonCell.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QScreen>
#include <QScrollBar>
#include <QTextBrowser>
#include <QVBoxLayout>
#include <QWindow>

const QString KVAboutBox::supportAddress = QStringLiteral("support@kalvora.app");
const QString KVAboutBox::webSite = QStringLiteral("https://kalvora.app");

namespace {

constexpr int kScrollInterval = 50; // 20 pixels a second: readable without effort
constexpr int kPauseTicks = 60;     // three seconds at the top and at the end

QString creditsHtml() {
    const QString section = QStringLiteral("<p><b>%1</b><br>%2</p>");
    return QStringLiteral("<div align=\"center\">") +
           section.arg(KVAboutBox::tr("Idea and development"), KVAboutBox::tr("The Kalvora team")) +
           section.arg(KVAboutBox::tr("Date rewriting"),
                       KVAboutBox::tr("ExifTool, shipped inside the application")) +
           section.arg(KVAboutBox::tr("Photo metadata"), KVAboutBox::tr("Exiv2 and LibRaw")) +
           section.arg(KVAboutBox::tr("User interface"), KVAboutBox::tr("The Qt toolkit")) +
           section.arg(KVAboutBox::tr("Testing"),
                       KVAboutBox::tr("Photographers who shot one wedding with five cameras")) +
           section.arg(KVAboutBox::tr("Thanks"),
                       KVAboutBox::tr("Everyone who sent us a photo whose date was wrong")) +
           QStringLiteral("</div>");
}

} // namespace

KVAboutBox::KVAboutBox(QWidget *parent)
    : QWidget(parent, Qt::Window | Qt::WindowTitleHint | Qt::WindowCloseButtonHint) {
    setWindowTitle(tr("About Kalvora"));

    auto *picture = new QLabel(this);
    picture->setAlignment(Qt::AlignCenter);
    const QImage &image = KVBundleImage::named(QStringLiteral("CameraImage"));
    if (!image.isNull())
        picture->setPixmap(QPixmap::fromImage(
            image.scaledToWidth(qMin(image.width(), 128), Qt::SmoothTransformation)));

    auto *name = new QLabel(QStringLiteral("Kalvora"), this);
    QFont nameFont = name->font();
    nameFont.setPixelSize(20);
    nameFont.setBold(true);
    name->setFont(nameFont);
    name->setAlignment(Qt::AlignCenter);

    auto *version = new QLabel(tr("Version %1").arg(QStringLiteral(KALVORA_VERSION)), this);
    version->setAlignment(Qt::AlignCenter);
    version->setTextInteractionFlags(Qt::TextSelectableByMouse);

    m_credits = new QTextBrowser(this);
    m_credits->setFrameShape(QFrame::NoFrame);
    m_credits->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_credits->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_credits->setFocusPolicy(Qt::NoFocus);
    m_credits->viewport()->setAutoFillBackground(false);
    // The credits open at their top line; the blank space after them lets the last line roll
    // out before they start again.
    m_credits->setHtml(creditsHtml() + QStringLiteral("<br><br><br><br><br><br>"));
    m_credits->setFixedHeight(110);

    auto *support =
        new KVLinkButtonCell(supportAddress, QStringLiteral("mailto:") + supportAddress, this);
    auto *site = new KVLinkButtonCell(tr("kalvora.app"), webSite, this);
    auto *links = new QHBoxLayout;
    links->addStretch();
    links->addWidget(support);
    links->addSpacing(16);
    links->addWidget(site);
    links->addStretch();

    auto *copyright = new QLabel(tr("© 2026 The Kalvora team"), this);
    copyright->setAlignment(Qt::AlignCenter);
    QFont smallFont = copyright->font();
    smallFont.setPixelSize(11);
    copyright->setFont(smallFont);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 20, 24, 16);
    layout->setSpacing(8);
    layout->addWidget(picture);
    layout->addWidget(name);
    layout->addWidget(version);
    layout->addWidget(m_credits);
    layout->addLayout(links);
    layout->addWidget(copyright);
    setFixedWidth(340);

    m_scrollTimer.setInterval(kScrollInterval);
    connect(&m_scrollTimer, &QTimer::timeout, this, &KVAboutBox::scrollCredits);
    m_pauseTicks = kPauseTicks;
}

int KVAboutBox::creditsOffset() const {
    return m_credits->verticalScrollBar()->value();
}

void KVAboutBox::scrollCredits() {
    if (m_pauseTicks > 0) {
        --m_pauseTicks;
        return;
    }
    QScrollBar *bar = m_credits->verticalScrollBar();
    if (bar->value() >= bar->maximum()) {
        bar->setValue(bar->minimum());
        m_pauseTicks = kPauseTicks;
        return;
    }
    bar->setValue(bar->value() + 1);
}

void KVAboutBox::showAboutBox() {
    if (!isVisible()) {
        if (const QScreen *screen = QGuiApplication::primaryScreen()) {
            adjustSize();
            // The frame's size counts, and a window not made yet does not know its frame.
            create();
            const QMargins frame = windowHandle() ? windowHandle()->frameMargins() : QMargins();
            const QSize windowSize = size().grownBy(frame);
            const QRect screenRect = screen->geometry();
            move(screenRect.x() + (screenRect.width() - windowSize.width()) / 2,
                 screenRect.y() + (screenRect.height() - windowSize.height()) / 2);
        }
    }
    show();
    raise();
    activateWindow();
}

void KVAboutBox::showEvent(QShowEvent *event) {
    QWidget::showEvent(event);
    m_scrollTimer.start();
}

void KVAboutBox::hideEvent(QHideEvent *event) {
    QWidget::hideEvent(event);
    m_scrollTimer.stop();
}
