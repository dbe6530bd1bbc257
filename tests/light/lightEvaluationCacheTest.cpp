#include "material/lightSample.h"
#include "render/znRTRenderUtils.h"

#include <gtest/gtest.h>
#include <thread>

namespace {

TEST(LightEvaluationCache, KeepsOneQueuePerThread)
{
    LightEvalSample *samples, *again, *elsewhere = nullptr;
    znFloatType<2>* weights;
    int capacity;
    znRTRenderUtils::getLightEvaluationCache(5, samples, weights, capacity);
    EXPECT_EQ(capacity, 10);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(samples) % 16, 0u);
    samples[9].mask = weights[9] = znFloatType<2>(7.0f);
    znRTRenderUtils::getLightEvaluationCache(10, again, weights, capacity);
    EXPECT_EQ(again, samples);
    EXPECT_EQ(weights[9][0], 7.0f);
    znRTRenderUtils::getLightEvaluationCache(11, again, weights, capacity);
    EXPECT_EQ(capacity, 22);
    EXPECT_EQ(again[9].mask[3], 7.0f);
    std::thread([&] {
        znFloatType<2>* other;
        int room;
        znRTRenderUtils::getLightEvaluationCache(11, elsewhere, other, room);
        EXPECT_NE(elsewhere, again);
    }).join();
    znRTRenderUtils::clearLightEvaluationCache();
}

} // namespace
