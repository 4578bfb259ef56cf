#include "KVStringDrawing.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include <gtest/gtest.h>

#include <functional>

namespace {

const QChar ellipsis(0x2026);

// Text needs the font machinery of a QGuiApplication.
class KVStringDrawingTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
            GTEST_SKIP() << "text measuring needs a QGuiApplication test main";
        m_attributes.font = KVLucidaGrande(12.0);
    }

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

    KVTextAttributes m_attributes;
};

} // namespace

TEST_F(KVStringDrawingTest, TrimsFromTheEndWithAnEllipsis) {
    const QString text = QStringLiteral("Canon EOS 5D Mark III");
    EXPECT_EQ(trimmedStringWithAttributes(text, m_attributes, width(text)), text);

    const double limit = width(QStringLiteral("Canon EOS"));
    const QString trimmed = trimmedStringWithAttributes(text, m_attributes, limit);
    // The longest prefix that fits keeps all but its last letter, which the ellipsis takes.
    EXPECT_EQ(trimmed, QStringLiteral("Canon EO") + ellipsis);
}

TEST_F(KVStringDrawingTest, EllipsisIsNotMeasuredAgain) {
    const QString text = QStringLiteral("iiiiiiiiiiii");
    if (width(QString(ellipsis)) <= width(QStringLiteral("i")))
        GTEST_SKIP() << "the font's ellipsis is no wider than an i";
    const double limit = width(QStringLiteral("iiiii"));
    const QString trimmed = trimmedStringWithAttributes(text, m_attributes, limit);
    EXPECT_EQ(trimmed, QStringLiteral("iiii") + ellipsis);
    EXPECT_GT(width(trimmed), limit);
}

TEST_F(KVStringDrawingTest, ShortTextsLoseTheEllipsis) {
    EXPECT_EQ(trimmedStringWithAttributes(QStringLiteral("WW"), m_attributes, 1.0),
              QStringLiteral("W"));
    EXPECT_EQ(trimmedStringWithAttributes(QStringLiteral("WWWWW"), m_attributes, 0.0),
              QStringLiteral("W"));
    EXPECT_EQ(trimmedStringWithAttributes(QStringLiteral("W"), m_attributes, 0.0),
              QStringLiteral("W"));
    EXPECT_EQ(trimmedStringWithAttributes(QString(), m_attributes, -5.0), QString());
    // A character outside the basic plane is never cut in half.
    const QString faces = QString::fromUtf8("\U0001F600\U0001F600\U0001F600");
    EXPECT_EQ(trimmedStringWithAttributes(faces, m_attributes, 0.0), faces.left(2));
    const QString cut = trimmedStringWithAttributes(QStringLiteral("ab") + faces, m_attributes,
                                                    width(QStringLiteral("ab") + faces.left(2)));
    EXPECT_EQ(cut, QStringLiteral("ab") + ellipsis);
}

TEST_F(KVStringDrawingTest, CentresWithoutRoundingAndTrimsWhenTooWide) {
    const QString fits = QStringLiteral("Preparing");
    const QString tooWide = QStringLiteral("A camera name far too long for the rectangle");
    const struct {
        QString text, shown;
        QRectF rect;
    } cases[] = {{fits, fits, QRectF(10.25, 3.75, 151.0, 40.0)},
                 {tooWide, trimmedStringWithAttributes(tooWide, m_attributes, 60.0),
                  QRectF(0.0, 0.0, 60.0, 30.0)}};
    ASSERT_TRUE(cases[1].shown.endsWith(ellipsis));
    for (const auto &c : cases) {
        const QSizeF size = KVSizeWithAttributes(c.shown, m_attributes);
        const QPointF origin = c.rect.topLeft() + QPointF((c.rect.width() - size.width()) * 0.5,
                                                          (c.rect.height() - size.height()) * 0.5);
        EXPECT_EQ(render([&](QPainter &p) { drawInCenterOfRect(p, c.text, c.rect, m_attributes); }),
                  render([&](QPainter &p) { KVDrawString(p, c.shown, origin, m_attributes); }));
    }
}

TEST_F(KVStringDrawingTest, ShadowFallsBelowTheText) {
    KVTextAttributes shadowed = m_attributes;
    shadowed.color = Qt::transparent;
    shadowed.hasShadow = true;
    shadowed.shadowColor = Qt::black;
    shadowed.shadowOffset = QPointF(0.0, -10.0);
    const QImage withShadow = render([&](QPainter &painter) {
        KVDrawString(painter, QStringLiteral("M"), {20, 5}, shadowed);
    });
    KVTextAttributes plain = m_attributes;
    plain.color = Qt::black;
    const QImage moved = render([&](QPainter &painter) {
        KVDrawString(painter, QStringLiteral("M"), {20, 15}, plain);
    });
    EXPECT_EQ(withShadow, moved);
}
