#include "renderFixture.h"

#include "gi/znRTPoisson.h"
#include "gi/znRTSampleSet.h"

using namespace renderTest;

namespace {

class SamplingSetUp : public RenderTest
{
};

} // namespace

TEST_F(SamplingSetUp, InstallsTheRandomTableForTheLifeOfTheRenderState)
{
    const float* const table = znRTPoisson::s_randomValues;
    ASSERT_NE(table, nullptr);
    instance->initialize();
    EXPECT_EQ(znRTPoisson::s_randomValues, table);
    instance->terminateTasks(&view.record);
    instance->destroy(&view.record);
    EXPECT_EQ(znRTPoisson::s_randomValues, nullptr);
    EXPECT_EQ(znRTPoisson::s_samples, 0u);
    instance->initialize();
    instance->initTasks(&view.record);
    EXPECT_EQ(znRTPoisson::s_randomValues, table);
    EXPECT_EQ(znRTPoisson::s_samples, 0x80000u);
}

TEST_F(SamplingSetUp, MakesSetsOfDirectionsForTheHost)
{
    znRaytracingUtilsBase& host = *instance;
    const znRTSampleSet* const set = host.createSampleSet(10, 10, true, true, 1.0f, 2.0f);
    ASSERT_NE(set, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(set) % 32, 0u);
    EXPECT_EQ(set->getNumSamples(), 28u);
    EXPECT_FLOAT_EQ(set->getWeight(), 0.005f);
    const znRTSampleSet* const half = host.createSampleSet(8, 8, false, false, 0.0f, 0.0f);
    EXPECT_EQ(half->getNumSamples(), 16u);
    EXPECT_EQ(half->getWeight(), 0.0f);
    host.deleteSampleSet(set);
    host.deleteSampleSet(half);
    host.deleteSampleSet(nullptr);
}
