// SPDX-FileCopyrightText: 2026 The Kalvora developers
// SPDX-License-Identifier: GPL-3.0-or-later

#include "KVThumbnailLoader.h"

#include "KVTestSupport.h"
#include "KVTimelineTestPhoto.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

namespace {

const QDateTime date(QDate(2012, 3, 7), QTime(14, 5, 9), Qt::LocalTime);

struct Answer {
    quint64 key;
    QImage picture;
    QSize size;
};

class KVThumbnailLoaderTest : public ::testing::Test {
protected:
    void SetUp() override {
        QObject::connect(&loader, &KVThumbnailLoader::thumbnailReady,
                         [this](quint64 key, const QImage &picture, const QSize &size) {
                             answers.push_back({key, picture, size});
                         });
    }
    bool settle() {
        return KVTest::waitFor([this] { return loader.pendingCount() == 0; });
    }
    KVThumbnailLoader loader;
    std::vector<Answer> answers;
    KVTimelineTestPhotoRef photo = std::make_shared<KVTimelineTestPhoto>(date, QSize(300, 200));
};

// A size alone comes without a picture, a picture at the drawn height; each request is answered
// once, cancelled ones never.
TEST_F(KVThumbnailLoaderTest, EachRequestIsAnsweredOnceAndCancelledOnesNever) {
    for (quint64 key = 1; key <= 50; ++key) {
        loader.request(key, photo, 0);
        // Asked again for the picture while the size may already be on its way.
        if (key % 2 == 0)
            loader.request(key, photo, 70);
        if (key % 5 == 0)
            loader.cancel(key);
    }
    ASSERT_TRUE(settle());
    std::map<quint64, int> counts;
    for (const Answer &answer : answers) {
        ++counts[answer.key];
        EXPECT_NE(answer.key % 5, 0u);
        EXPECT_EQ(answer.size, QSize(300, 200));
        EXPECT_EQ(answer.picture.size(), answer.key % 2 ? QSize(0, 0) : QSize(105, 70))
            << answer.key;
    }
    EXPECT_EQ(counts.size(), 40u);
    for (const auto &[key, count] : counts)
        EXPECT_EQ(count, 1) << key;
    // Nothing arrives later either.
    QCoreApplication::processEvents();
    EXPECT_EQ(answers.size(), 40u);
}

TEST_F(KVThumbnailLoaderTest, LoaderGoneBeforeItsAnswersIsSafe) {
    auto early = std::make_unique<KVThumbnailLoader>();
    for (quint64 key = 1; key <= 200; ++key)
        early->request(key, photo, 70);
    early.reset();
    loader.request(1, photo, 0);
    ASSERT_TRUE(settle());
    EXPECT_EQ(answers.size(), 1u);
    EXPECT_EQ(loader.pendingCount(), 0);
    // Nothing requested of a missing photo.
    loader.request(2, nullptr, 70);
    EXPECT_EQ(loader.pendingCount(), 0);
}

} // namespace
