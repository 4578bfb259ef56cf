// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVStringDrawing.h"

#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include <functional>

namespace {

const QString ellipsis(QChar(0x2026));

// Text needs the font machinery of the widget tests' QApplication.
class KVStringDrawingTest : public ::testing::Test {
protected:
    void SetUp() override { m_attributes.font = KVLucidaGrande(12.0); }
    double width(const QString &text) const {
        return KVSizeWithAttributes(text, m_attributes).width();
    }
    QImage render(const std::function<void(QPainter &)> &paint) const {
        QImage image(200, 60, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::white);
        QPainter painter(&image);
        paint(painter);
        return image;
    }
    QImage drawn(const QString &text, QPointF origin, const KVTextAttributes &attributes) const {
        return render([&](QPainter &p) { KVDrawString(p, text, origin, attributes); });
    }

    KVTextAttributes m_attributes;
};

} // namespace

TEST_F(KVStringDrawingTest, TrimsFromTheEndWithAnEllipsisButNeverBelowOneCharacter) {
    const QString name = "Canon EOS 5D Mark III", faces = "\U0001F600\U0001F600\U0001F600";
    const struct {
        QString text;
        double limit;
        QString trimmed;
    } cases[] = {
        {name, width(name), name},
        // The longest prefix that fits keeps all but its last letter, which the ellipsis takes.
        {name, width("Canon EOS"), "Canon EO" + ellipsis},
        {"WW", 1.0, "W"},
        {"WWWWW", 0.0, "W"},
        {"W", 0.0, "W"},
        {"", -5.0, ""},
        // A character outside the basic plane is never cut in half.
        {faces, 0.0, faces.left(2)},
        {"ab" + faces, width("ab" + faces.left(2)), "ab" + ellipsis}};
    for (const auto &c : cases)
        EXPECT_EQ(trimmedStringWithAttributes(c.text, m_attributes, c.limit), c.trimmed) << c.limit;
    // The ellipsis is not measured again: the result may be wider than the limit.
    if (width(ellipsis) > width("i")) {
        const QString trimmed =
            trimmedStringWithAttributes("iiiiiiiiiiii", m_attributes, width("iiiii"));
        EXPECT_EQ(trimmed, "iiii" + ellipsis);
        EXPECT_GT(width(trimmed), width("iiiii"));
    }
}

TEST_F(KVStringDrawingTest, CentresWithoutRoundingAndTrimsWhenTooWide) {
    const QString tooWide = QStringLiteral("A camera name far too long for the rectangle");
    const struct {
        QString text, shown;
        QRectF rect;
    } cases[] = {{"Preparing", "Preparing", QRectF(10.25, 3.75, 151.0, 40.0)},
                 {tooWide, trimmedStringWithAttributes(tooWide, m_attributes, 60.0),
                  QRectF(0.0, 0.0, 60.0, 30.0)}};
    ASSERT_TRUE(cases[1].shown.endsWith(ellipsis));
    for (const auto &c : cases) {
        const QSizeF size = KVSizeWithAttributes(c.shown, m_attributes);
        const QPointF origin = c.rect.topLeft() + QPointF((c.rect.width() - size.width()) * 0.5,
                                                          (c.rect.height() - size.height()) * 0.5);
        EXPECT_EQ(render([&](QPainter &p) { drawInCenterOfRect(p, c.text, c.rect, m_attributes); }),
                  drawn(c.shown, origin, m_attributes));
    }
}

TEST_F(KVStringDrawingTest, ShadowFallsBelowTheText) {
    KVTextAttributes shadowed = m_attributes, plain = m_attributes;
    shadowed.color = Qt::transparent;
    shadowed.hasShadow = true;
    shadowed.shadowColor = plain.color = Qt::black;
    shadowed.shadowOffset = QPointF(0.0, -10.0);
    EXPECT_EQ(drawn("M", {20, 5}, shadowed), drawn("M", {20, 15}, plain));
}

// Cached texts are laid out once but land on exactly the pixels a fresh drawing gives, at whole
// and fractional positions, with and without a shadow; a full cache starts afresh and still draws.
TEST_F(KVStringDrawingTest, ACachedTextDrawsTheSamePixelsAsAFreshOne) {
    KVTextAttributes shadowed = m_attributes;
    shadowed.font = KVLucidaGrande(11.0);
    shadowed.color = QColor::fromRgbF(0.392f, 0.435f, 0.509f);
    shadowed.hasShadow = true;
    shadowed.shadowColor = QColor::fromRgbF(1, 1, 1, 0.4f);
    shadowed.shadowOffset = QPointF(0, -1);
    for (const KVTextAttributes &attributes : {m_attributes, shadowed}) {
        KVStringCache cache(attributes, 2);
        for (const QString &text :
             {QString("14h 20m"), QString("15 June"), QString("Juni 14"), QString("09:52:01")}) {
            for (const QPointF origin : {QPointF(3, 4), QPointF(10.5, 7.25), QPointF(41.3, 0.6)}) {
                SCOPED_TRACE(text.toStdString() + " at " + std::to_string(origin.x()));
                EXPECT_EQ(cache.size(text), KVSizeWithAttributes(text, attributes));
                const QImage fresh = drawn(text, origin, attributes);
                const QImage cached = render([&](QPainter &p) { cache.draw(p, text, origin); });
                EXPECT_NE(fresh, render([](QPainter &) {}));
                EXPECT_EQ(cached, fresh);
            }
        }
    }
}
