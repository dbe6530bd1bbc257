#include "render/photonRefresh.h"

#include <gtest/gtest.h>

namespace {

znRTPhotonState still(int photonMode, int gatherQuality, u32 iteration)
{
    znRTPhotonState state;
    state.photonMode = photonMode;
    state.traceDepth = 10;
    state.gatherQuality = gatherQuality;
    state.iteration = iteration;
    state.stillFrame = true;
    return state;
}

constexpr znRTPhotonDecision keep{znRTPhotonDecision::keepMap, 0, 0};
constexpr znRTPhotonDecision clearIt{znRTPhotonDecision::clearMap, 0, 0};

znRTPhotonDecision update(u32 iteration, int mode)
{
    return {znRTPhotonDecision::updateMap, iteration, mode};
}

} // namespace

TEST(PhotonRefresh, ClearsTheMapWithoutPhotonsOrDepth)
{
    EXPECT_EQ(decidePhotonRefresh(still(0, 16, 0)), clearIt);
    for (int depth : {0, 1, 2}) {
        znRTPhotonState state = still(3, 0, 0);
        state.traceDepth = depth;
        state.refreshRequested = true;
        EXPECT_EQ(decidePhotonRefresh(state), clearIt) << depth;
    }
}

TEST(PhotonRefresh, RunsEveryFourthIterationInBothModes)
{
    for (bool isStill : {false, true})
        for (u32 iteration = 1; iteration <= 40; ++iteration) {
            znRTPhotonState state = still(1, 16, iteration);
            state.stillFrame = isStill;
            EXPECT_EQ(decidePhotonRefresh(state), iteration % 4 == 0 ? update(iteration, 0) : keep)
                << iteration;
        }
}

TEST(PhotonRefresh, BeginsAStillFrameForCausticsOrDirectLookup)
{
    EXPECT_EQ(decidePhotonRefresh(still(1, 16, 0)), keep);
    EXPECT_EQ(decidePhotonRefresh(still(2, 16, 0)), update(0, 0));
    EXPECT_EQ(decidePhotonRefresh(still(3, 16, 0)), update(0, 0));
    EXPECT_EQ(decidePhotonRefresh(still(1, 0, 0)), update(0, 0));
    znRTPhotonState interactive = still(3, 0, 0);
    interactive.stillFrame = false;
    EXPECT_EQ(decidePhotonRefresh(interactive), keep);
}

TEST(PhotonRefresh, CountsThePreparatoryPassAsIterationZero)
{
    EXPECT_EQ(decidePhotonRefresh(still(2, 16, 0xffffff)), update(0, 0));
    EXPECT_EQ(decidePhotonRefresh(still(1, 16, 0xffffff)), keep);
}

TEST(PhotonRefresh, ServesLightsThatShineThroughPhotonsAlone)
{
    znRTPhotonState state = still(1, 16, 0);
    state.hasPhotonOnlyLights = true;
    EXPECT_EQ(decidePhotonRefresh(state), update(1, -1));
    state.iteration = 1;
    EXPECT_EQ(decidePhotonRefresh(state), keep);
    state.iteration = 0;
    state.stillFrame = false;
    EXPECT_EQ(decidePhotonRefresh(state), keep);
}

TEST(PhotonRefresh, FollowsARequestInAnyState)
{
    for (bool isStill : {false, true})
        for (u32 iteration : {0u, 1u, 3u}) {
            znRTPhotonState state = still(1, 16, iteration);
            state.stillFrame = isStill;
            state.refreshRequested = true;
            EXPECT_EQ(decidePhotonRefresh(state), update(iteration, 0));
        }
}
