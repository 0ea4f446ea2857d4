#include "annotation/AnnotationStore.h"

#include <gtest/gtest.h>

using namespace lookpane;

namespace {

Annotation lineFrom(double x, double y, double toX, double toY,
                    AnnotationColor color = AnnotationColor::red)
{
    Annotation annotation;
    annotation.tool = AnnotationTool::line;
    annotation.color = color;
    annotation.points = {{x, y}, {toX, toY}};
    return annotation;
}

// A drawable line whose position tells marks apart.
Annotation numberedMark(int number)
{
    const double y = 0.01 * number;
    return lineFrom(0.1, y, 0.9, y);
}

class AnnotationStoreTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        QObject::connect(&store, &AnnotationStore::changed, [this] { ++changes; });
    }

    void commit(const Annotation &annotation)
    {
        store.setDraft(annotation);
        store.commitDraft();
    }

    AnnotationStore store;
    int changes = 0;
};

} // namespace

TEST_F(AnnotationStoreTest, StartsEmptyWithNothingToUndo)
{
    EXPECT_TRUE(store.annotations().empty());
    EXPECT_FALSE(store.draft().has_value());
    EXPECT_EQ(store.historyDepth(), 0u);
}

TEST_F(AnnotationStoreTest, CommittingADrawableDraftAppendsItAndSnapshotsTheMarksBefore)
{
    commit(numberedMark(1));
    commit(numberedMark(2));
    ASSERT_EQ(store.annotations().size(), 2u);
    EXPECT_EQ(store.annotations()[0], numberedMark(1));
    EXPECT_EQ(store.annotations()[1], numberedMark(2));
    EXPECT_FALSE(store.draft().has_value());
    EXPECT_EQ(store.historyDepth(), 2u);
    EXPECT_EQ(changes, 2);

    ASSERT_TRUE(store.undo());
    ASSERT_EQ(store.annotations().size(), 1u);
    EXPECT_EQ(store.annotations()[0], numberedMark(1));
}

TEST_F(AnnotationStoreTest, CommitOfAShortLineDraftDiscardsItWithoutSnapshotButNotifies)
{
    commit(numberedMark(1));
    changes = 0;
    store.setDraft(lineFrom(0.5, 0.5, 0.503, 0.5039));
    store.commitDraft();
    EXPECT_EQ(store.annotations().size(), 1u);
    EXPECT_FALSE(store.draft().has_value());
    EXPECT_EQ(store.historyDepth(), 1u);
    EXPECT_EQ(changes, 1);
}

TEST_F(AnnotationStoreTest, CommitOfAFreehandDraftOfTwoIdenticalPointsKeepsIt)
{
    Annotation dot;
    dot.tool = AnnotationTool::freehand;
    dot.color = AnnotationColor::blue;
    dot.points = {{0.3, 0.3}, {0.3, 0.3}};
    commit(dot);
    ASSERT_EQ(store.annotations().size(), 1u);
    EXPECT_EQ(store.annotations()[0], dot);
    EXPECT_EQ(store.historyDepth(), 1u);
    EXPECT_EQ(changes, 1);
}

TEST_F(AnnotationStoreTest, CommitWithoutADraftNotifiesOnceAndChangesNothingElse)
{
    commit(numberedMark(1));
    const std::vector<Annotation> before = store.annotations();
    changes = 0;
    store.commitDraft();
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(store.annotations(), before);
    EXPECT_EQ(store.historyDepth(), 1u);
    EXPECT_FALSE(store.draft().has_value());
}

TEST_F(AnnotationStoreTest, AfterTwentyFiveMarksTwentyUndosSucceedAndTheTwentyFirstFails)
{
    for (int number = 1; number <= 25; ++number) {
        commit(numberedMark(number));
    }
    EXPECT_EQ(store.historyDepth(), AnnotationStore::historyLimit);
    for (int undo = 1; undo <= 20; ++undo) {
        ASSERT_TRUE(store.undo()) << "undo " << undo;
        EXPECT_EQ(store.annotations().size(), static_cast<std::size_t>(25 - undo));
    }
    ASSERT_EQ(store.annotations().size(), 5u);
    for (int number = 1; number <= 5; ++number) {
        EXPECT_EQ(store.annotations()[static_cast<std::size_t>(number - 1)], numberedMark(number));
    }
    changes = 0;
    EXPECT_FALSE(store.undo());
    EXPECT_EQ(store.annotations().size(), 5u);
    EXPECT_EQ(changes, 0);
}

TEST_F(AnnotationStoreTest, UndoWithEmptyHistoryReturnsFalseAndDoesNotNotify)
{
    store.setDraft(numberedMark(1));
    EXPECT_FALSE(store.undo());
    EXPECT_EQ(changes, 0);
    // Nothing changes at all, not even the draft.
    ASSERT_TRUE(store.draft().has_value());
    EXPECT_EQ(*store.draft(), numberedMark(1));
}

TEST_F(AnnotationStoreTest, ClearOnAnEmptyStoreWithoutDraftNeitherNotifiesNorGrowsHistory)
{
    store.clear();
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(store.historyDepth(), 0u);
    EXPECT_FALSE(store.undo());
}

TEST_F(AnnotationStoreTest, ClearWithMarksFollowedByUndoRestoresExactlyTheClearedList)
{
    commit(numberedMark(1));
    commit(lineFrom(0.2, 0.2, 0.8, 0.6, AnnotationColor::green));
    commit(numberedMark(3));
    const std::vector<Annotation> before = store.annotations();
    changes = 0;

    store.clear();
    EXPECT_TRUE(store.annotations().empty());
    EXPECT_EQ(store.historyDepth(), 4u);
    EXPECT_EQ(changes, 1);

    ASSERT_TRUE(store.undo());
    EXPECT_EQ(store.annotations(), before);
    EXPECT_EQ(changes, 2);
}

TEST_F(AnnotationStoreTest, ClearThatOnlyDropsADraftStillCostsOneHistoryEntry)
{
    store.setDraft(numberedMark(1));
    store.clear();
    EXPECT_FALSE(store.draft().has_value());
    EXPECT_EQ(store.historyDepth(), 1u);
    EXPECT_EQ(changes, 1);
    // The snapshot is the empty list, so undoing it changes nothing visible.
    ASSERT_TRUE(store.undo());
    EXPECT_TRUE(store.annotations().empty());
}

TEST_F(AnnotationStoreTest, UndoWhileDrawingDropsTheDraftAndRestoresTheSnapshot)
{
    commit(numberedMark(1));
    commit(numberedMark(2));
    store.setDraft(numberedMark(3));
    changes = 0;
    ASSERT_TRUE(store.undo());
    EXPECT_FALSE(store.draft().has_value());
    ASSERT_EQ(store.annotations().size(), 1u);
    EXPECT_EQ(store.annotations()[0], numberedMark(1));
    EXPECT_EQ(changes, 1);
}

TEST_F(AnnotationStoreTest, OnChangeSeesTheNewStateAlready)
{
    std::size_t countSeen = 0;
    bool draftSeen = true;
    QObject::connect(&store, &AnnotationStore::changed, [&] {
        countSeen = store.annotations().size();
        draftSeen = store.draft().has_value();
    });
    commit(numberedMark(1));
    EXPECT_EQ(countSeen, 1u);
    EXPECT_FALSE(draftSeen);
    store.clear();
    EXPECT_EQ(countSeen, 0u);
}

TEST_F(AnnotationStoreTest, WorksWithoutAnObserver)
{
    QObject::disconnect(&store, &AnnotationStore::changed, nullptr, nullptr);
    commit(numberedMark(1));
    store.clear();
    EXPECT_TRUE(store.undo());
    EXPECT_EQ(store.annotations().size(), 1u);
}
