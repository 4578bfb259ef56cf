// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVCameraOffsetMemory.h"

#include <gtest/gtest.h>

namespace {

const QString bodyA = QStringLiteral("Oriel OX-5 OX5-204417");
const QString bodyB = QStringLiteral("Oriel OX-5 OX5-318862");
const QString bodyC = QStringLiteral("Tamura T20 T20A0918");

class KVCameraOffsetMemoryTest : public ::testing::Test {
protected:
    // The tests run with Qt's test paths: these are not a real user's settings.
    void SetUp() override { defaults().setObject(QVariant(), KVCameraOffsetMemory::settingsKey); }
    static KVUserDefaults &defaults() { return KVUserDefaults::standardUserDefaults(); }
};

} // namespace

TEST_F(KVCameraOffsetMemoryTest, OffsetsAreKeptPerBodyWithTheirDateAndReadAgainstAnyReference) {
    const QDateTime first(QDate(2026, 5, 2), QTime(18, 0), Qt::UTC);
    KVCameraOffsetMemory memory;
    memory.remember({{bodyB, -3725.0}, {bodyC, 220.0}}, bodyA, first);
    // A later sync with another reference changes only what it synced.
    const QDateTime later = first.addDays(30);
    memory.remember({{bodyC, 228.0}}, bodyA, later);

    // A fresh reader sees what was kept.
    const KVCameraOffsetMemory reread;
    ASSERT_TRUE(reread.entryForCamera(bodyB));
    EXPECT_EQ(reread.entryForCamera(bodyB)->offset, -3725.0);
    EXPECT_EQ(reread.entryForCamera(bodyB)->date, first);
    EXPECT_EQ(reread.entryForCamera(bodyC)->offset, 228.0);
    EXPECT_EQ(reread.entryForCamera(bodyC)->date, later);
    EXPECT_EQ(reread.entryForCamera(bodyA)->offset, 0.0);

    struct Case {
        QString camera;
        QString reference;
        std::optional<qint64> offset;
    };
    const Case cases[] = {
        {bodyB, bodyA, -3725},
        {bodyB, bodyC, -3725 - 228},
        {bodyC, bodyB, 228 + 3725},
        // A reference never synced is taken to be right.
        {bodyB, QStringLiteral("Velmont Pix 3"), -3725},
        {QStringLiteral("Velmont Pix 3"), bodyA, std::nullopt},
    };
    for (const Case &test : cases)
        EXPECT_EQ(reread.offsetAgainst(test.camera, test.reference), test.offset)
            << qPrintable(test.camera) << " against " << qPrintable(test.reference);
}

TEST_F(KVCameraOffsetMemoryTest, SettingsThatAreNotAnOffsetAreIgnored) {
    defaults().setObject(QVariantMap{{bodyA, QVariantMap{{"offset", "soon"}}},
                                     {bodyB, QStringLiteral("12")},
                                     {bodyC, QVariantMap{{"offset", qQNaN()}}}},
                         KVCameraOffsetMemory::settingsKey);
    const KVCameraOffsetMemory memory;
    for (const QString &body : {bodyA, bodyB, bodyC})
        EXPECT_FALSE(memory.entryForCamera(body)) << qPrintable(body);
    // A camera synced by hand, without a reference camera, is still kept.
    KVCameraOffsetMemory(defaults())
        .remember({{bodyB, 5.0}}, QString(), QDateTime::currentDateTimeUtc());
    EXPECT_EQ(memory.offsetAgainst(bodyB, bodyA), 5);
}
