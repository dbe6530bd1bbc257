// Frames that light from other surfaces is part of.

#include "host/osg/Materials.h"
#include "host/osg/UberLight.h"
#include "host/znRenderPasses.h"
#include "render/znRTIntegratorTable.h"
#include "renderFixture.h"

using namespace renderTest;

namespace {

class IndirectFrames : public RenderTest
{
protected:
    static constexpr u32 size = 32;

    void SetUp() override
    {
        RenderTest::SetUp();
        resize(size, size);
        view.record.m_renderMode = ZN_RENDER_BEAUTY;
        const osg::GeometryPtr sphere = makeSphere(16, 32), floor = makeSquare(3.0f);
        for (const osg::GeometryPtr& geometry : {sphere, floor})
            geometry->setMaterial(osg::UPhongMaterial::create());
        add(sphere, 0, 0, 1);
        add(floor);
        add(osg::UDirectionalLight::create());
    }
    /// A still frame of eight samples per pixel.
    std::vector<ZN_RGBA32F> render(u32 tasks)
    {
        begin(true);
        accumulate(32, tasks);
        return view.frame;
    }
    static double sumOf(const std::vector<ZN_RGBA32F>& frame)
    {
        double sum = 0.0;
        for (u32 i = 0; i < size * size; ++i)
            sum += double(frame[i].r) + double(frame[i].g) + double(frame[i].b);
        return sum;
    }
};

} // namespace

TEST_F(IndirectFrames, DoNotDependOnTheNumberOfThreads)
{
    const std::vector<ZN_RGBA32F> one = render(1), four = render(4);
    for (u32 i = 0; i < size * size; ++i) {
        EXPECT_NEAR(one[i].r, four[i].r, 1e-5f * std::abs(one[i].r)) << "pixel " << i;
        EXPECT_NEAR(one[i].g, four[i].g, 1e-5f * std::abs(one[i].g)) << "pixel " << i;
    }
    EXPECT_GT(sumOf(one), 1.0);
}

// The display of indirect light shows the sum of the layers that hold it.
TEST_F(IndirectFrames, ShowIndirectLightByItself)
{
    const auto layer = [&](u32 pass) {
        view.record.m_renderMode = ZN_RENDER_BEAUTY;
        view.record.m_currentPass = pass;
        const double sum = sumOf(render(2));
        view.record.m_currentPass = 0;
        return sum;
    };
    const double parts =
        layer(ZN_PASS_DIFFUSE_INDIRECT_ILLUMINATION) + layer(ZN_PASS_GLOSSY_INDIRECT_ILLUMINATION);
    view.record.m_renderMode = ZN_RENDER_INDIRECT;
    EXPECT_NEAR(sumOf(render(2)), parts, 1e-3 * parts);
    EXPECT_GT(parts, 1.0);
}
