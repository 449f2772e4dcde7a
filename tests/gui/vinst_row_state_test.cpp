#include "install/vinst/gui/vinst_row_state.h"

#include "support/afcq/afcq_images.h"

#include <gtest/gtest.h>

#include <set>

using namespace std::chrono_literals;
using KIND = VINST_ROW_STATE::KIND;
using STATE = VINST_COMPONENT_PROGRESS::STATE;

namespace
{

constexpr KIND all_kinds[] = {KIND::waiting,    KIND::downloading, KIND::retrying,
                              KIND::failed,     KIND::checking,    KIND::verified,
                              KIND::installing, KIND::installed,   KIND::stopped};

KIND kind_of(STATE state, bool is_being_checked = false)
{
    VINST_COMPONENT_PROGRESS progress;
    progress.state = state;
    return row_state_of(progress, is_being_checked).kind;
}

}

TEST(RowState, FollowsTheProgress)
{
    EXPECT_EQ(kind_of(STATE::waiting), KIND::waiting);
    EXPECT_EQ(kind_of(STATE::waiting, true), KIND::checking);
    EXPECT_EQ(kind_of(STATE::moving), KIND::downloading);
    EXPECT_EQ(kind_of(STATE::failed), KIND::failed);
    EXPECT_EQ(kind_of(STATE::verified), KIND::verified);
}

TEST(RowState, IsDescribedInWords)
{
    EXPECT_EQ(row_state_text({}), "");
    EXPECT_EQ(row_state_text({KIND::waiting}), "waiting");
    EXPECT_EQ(row_state_text({KIND::downloading}), "downloading");
    EXPECT_EQ(row_state_text({KIND::retrying, 65s, {}}), "will retry in 1 min 5 secs");
    EXPECT_EQ(row_state_text({KIND::failed, {}, "no space"}), "failed: no space");
    EXPECT_EQ(row_state_text({KIND::failed}), "failed");
    EXPECT_EQ(row_state_text({KIND::checking}), "checking");
    EXPECT_EQ(row_state_text({KIND::verified}), "verified");
    EXPECT_EQ(row_state_text({KIND::installing}), "installing");
    EXPECT_EQ(row_state_text({KIND::installed}), "installed");
    EXPECT_EQ(row_state_text({KIND::stopped}), "stopped");
}

TEST(RowState, HasAnImageForEachKind)
{
    std::set<int> numbers;
    for (const KIND kind : all_kinds)
    {
        numbers.insert(row_state_icon(kind));
        EXPECT_FALSE(afcq_get_icon(row_state_icon(kind)).pixmap(16, 16).isNull());
    }
    EXPECT_EQ(numbers.size(), std::size(all_kinds));
    EXPECT_EQ(row_state_icon(KIND::none), 0);
}

TEST(RowState, KeepsOnlyResultsAfterAJob)
{
    for (const KIND kind : {KIND::failed, KIND::verified, KIND::installed, KIND::stopped})
        EXPECT_EQ(row_state_after_job({kind}, "reason").kind, kind);
    for (const KIND kind :
         {KIND::waiting, KIND::downloading, KIND::retrying, KIND::checking, KIND::installing})
    {
        EXPECT_EQ(row_state_after_job({kind}, {}).kind,
                  kind == KIND::waiting ? KIND::none : KIND::stopped);
        EXPECT_EQ(row_state_text(row_state_after_job({kind}, "reason")), "failed: reason");
    }
}
