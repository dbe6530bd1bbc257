#include "renderFixture.h"

#include "accel/znRTDynamicBVH.h"
#include "geometry/znRTGeometryNode.h"
#include "host/osg/RenderOptions.h"
#include "host/znRenderOptions.h"
#include "host/znSceneDataManager.h"
#include "host/znSelectionColors.h"

#include <cmath>
#include <cstring>

using namespace renderTest;

namespace {

/// Triangle in the plane z = 0 whose left edge runs upright along x = left.
osg::GeometryPtr makeTriangle(float left)
{
    const osg::GeometryPtr geometry = osg::Geometry::create();
    geometry->setPositions(
        osg::GeoProperty::create({osg::Vec3f(left, -40, 0), {90, 0, 0}, {left, 40, 0}}));
    geometry->setIndices(osg::GeoProperty::create({0u, 1u, 2u}));
    geometry->setLengths({3});
    geometry->setTypes({osg::Geometry::triangles});
    return geometry;
}

class SelectionOverlay : public RenderTest
{
protected:
    void SetUp() override
    {
        RenderTest::SetUp();
        znSceneDataManager::getSceneData(0)->setRenderOptions(osg::RenderOptions::create());
        options().setSelectionWireframe(false);
    }
    void TearDown() override
    {
        select({}, {});
        znRTRenderUtils::setWireframeMode(false);
        znSceneDataManager::getSceneData(0)->setRenderOptions(osg::RenderOptions::create());
        znRenderOptions::getInstance().setSelectionEnabled(true);
        RenderTest::TearDown();
    }
    static osg::RenderOptions& options()
    {
        return *znSceneDataManager::getSceneData(0)->getRenderOptions();
    }
    void select(const std::vector<u32>& selected, const std::vector<u32>& preselected)
    {
        znSceneDataManager::getSceneData(0)->setSelectedNodes(selected);
        znSceneDataManager::getSceneData(0)->setPreselectedNodes(preselected);
    }
    std::vector<ZN_RGBA32F> render()
    {
        view.resize(width, height);
        instance->generateRenderTiles(&view.record, 16);
        begin();
        EXPECT_FALSE(trace());
        return view.frame;
    }
    const ZN_RGBA32F& at(const std::vector<ZN_RGBA32F>& image, u32 x, u32 y) const
    {
        return image[y * width + x];
    }
    static void expectMixed(const ZN_RGBA32F& shown, const ZN_RGBA32F& plain,
                            const znRTVector4f& top, float opacity)
    {
        EXPECT_NEAR(shown.r, plain.r + (top.x - plain.r) * opacity, 1e-6f);
        EXPECT_NEAR(shown.g, plain.g + (top.y - plain.g) * opacity, 1e-6f);
        EXPECT_NEAR(shown.b, plain.b + (top.z - plain.b) * opacity, 1e-6f);
        EXPECT_NEAR(shown.a, 1.0f, 1e-6f);
    }
    /// Opacity of an overlay of the selection's colour, from the channel where it shows best.
    static float opacityOf(const ZN_RGBA32F& shown, const ZN_RGBA32F& plain)
    {
        return (plain.b - shown.b) / (plain.b - selectionColor().z);
    }
    static const znRTVector4f& selectionColor()
    {
        return znSelectionColors::getColor(znSelectionColors::selection);
    }

    static constexpr u32 width = 64, height = 48;
};

} // namespace

TEST_F(SelectionOverlay, TintsTheSelectedObjectAndNoOther)
{
    const osg::NodePtr left = add(makeSquare(0.8f), -1, 0, 0);
    add(makeSquare(0.8f), 1, 0, 0);
    const std::vector<ZN_RGBA32F> plain = render();
    select({left->getId()}, {});
    const std::vector<ZN_RGBA32F> tinted = render();
    u32 changed = 0;
    for (u32 y = 0; y < height; ++y)
        for (u32 x = 0; x < width; ++x) {
            const bool isLeft = x < width / 2 && at(plain, x, y).a > 0.0f;
            changed += isLeft;
            if (isLeft)
                expectMixed(at(tinted, x, y), at(plain, x, y), selectionColor(), 0.25f);
            else
                EXPECT_EQ(at(tinted, x, y).r, at(plain, x, y).r);
        }
    EXPECT_GT(changed, 50u);
    select({}, {});
    const std::vector<ZN_RGBA32F> after = render();
    EXPECT_EQ(std::memcmp(after.data(), plain.data(), width * height * sizeof(ZN_RGBA32F)), 0);
}

TEST_F(SelectionOverlay, ShowsPreselectionInItsOwnColour)
{
    const osg::NodePtr square = add(makeSquare(1));
    const ZN_RGBA32F plain = at(render(), 32, 24);
    select({square->getId()}, {square->getId()});
    const znRTVector4f& color = znSelectionColors::getColor(znSelectionColors::preselection);
    expectMixed(at(render(), 32, 24), plain, color, 0.25f);
    options().setSelectionOpacity(0.75f);
    expectMixed(at(render(), 32, 24), plain, color, 0.75f);
}

TEST_F(SelectionOverlay, MarksWhatBelongsToASelectedGroup)
{
    const osg::NodePtr square = add(makeSquare(1));
    const ZN_RGBA32F plain = at(render(), 32, 24);
    select({square->getParent()->getId()}, {});
    expectMixed(at(render(), 32, 24), plain, selectionColor(), 0.25f);
}

TEST_F(SelectionOverlay, StaysAwayWhenSelectionIsNotShown)
{
    const osg::NodePtr square = add(makeSquare(1));
    const ZN_RGBA32F plain = at(render(), 32, 24);
    select({square->getId()}, {});
    znRenderOptions::getInstance().setSelectionEnabled(false);
    EXPECT_EQ(at(render(), 32, 24).r, plain.r);
}

TEST_F(SelectionOverlay, RebuildsNoOtherObject)
{
    const osg::NodePtr square = add(makeSquare(1));
    add(makeSphere(10, 20), 2, 0, 0);
    render();
    const auto stateOf = [](u64 index) {
        const znRTGeometryNode* const node =
            znRTRenderUtils::getCurrentAccelerator()->getSceneNode(index);
        return std::pair{node->getCurrentIntersector(),
                         node->getSharedVolume()->builtVersion.load()};
    };
    const auto first = stateOf(0), second = stateOf(1);
    select({square->getId()}, {});
    render();
    EXPECT_EQ(stateOf(0), first);
    EXPECT_EQ(stateOf(1), second);
}

// A line of w pixels along an outer edge covers w / 2 pixels of the surface: summed along a row,
// its coverage is w / 2, less what lies left of the first pixel centre, more half a pixel of ramp.
TEST_F(SelectionOverlay, DrawsEdgesOfAWidthInPixelsAtAnyDistance)
{
    options().setSelectionOpacity(0.0f);
    const float left = -0.3f;
    const osg::NodePtr triangle = add(makeTriangle(left));
    for (const double distance : {0.0, -10.0}) {
        osg::Matrix matrix;
        matrix[3][2] = float(distance);
        osg::FCPtr<osg::Transform>::dcast(triangle->getParent()->getCore())->setMatrix(matrix);
        for (const float lineWidth : {2.0f, 4.0f}) {
            select({}, {});
            const std::vector<ZN_RGBA32F> plain = render();
            select({triangle->getId()}, {});
            options().setSelectionWireframe(true);
            options().setLineWidth(lineWidth);
            const std::vector<ZN_RGBA32F> marked = render();
            options().setSelectionWireframe(false);
            const osg::TransformationMatrix<double>& toWorld =
                znRTRenderUtils::getCamera()->toWorldProjection;
            osg::TransformationMatrix<double> toClip = toWorld;
            ASSERT_TRUE(toClip.invert());
            const double edge =
                (toClip.multFullMatrixPnt({left, 0, distance})[0] + 1.0) * 0.5 * width;
            const u32 y = height / 2, firstPixel = u32(std::ceil(edge - 0.5));
            const double delta = firstPixel + 0.5 - edge;
            double sum = 0.0;
            for (u32 x = firstPixel; x < width; ++x)
                sum += opacityOf(at(marked, x, y), at(plain, x, y)) / selectionColor().w;
            EXPECT_NEAR(sum, 0.5 * lineWidth + 0.5 - delta, 0.02)
                << "at " << distance << ", width " << lineWidth;
            EXPECT_EQ(at(marked, width - 4, y).b, at(plain, width - 4, y).b)
                << "the inside is free";
        }
    }
}

TEST_F(SelectionOverlay, ShowsHiddenEdgesInFrontWhereWanted)
{
    options().setSelectionOpacity(0.0f);
    options().setLineWidth(3.0f);
    const osg::NodePtr hidden = add(makeTriangle(-0.3f), 0, 0, -2);
    add(makeSquare(50), 0, 0, 1);
    const std::vector<ZN_RGBA32F> plain = render();
    const auto countMarked = [&] {
        const std::vector<ZN_RGBA32F> shown = render();
        u32 marked = 0;
        for (u32 i = 0; i < width * height; ++i)
            marked += opacityOf(shown[i], plain[i]) > 0.2f * selectionColor().w;
        return marked;
    };
    select({hidden->getId()}, {});
    options().setSelectionWireframe(true);
    EXPECT_EQ(countMarked(), 0u);
    options().setWireframeAlwaysInFront(true);
    // The half of the upright edge that lies on the triangle: one or two pixels of each row.
    const u32 marked = countMarked();
    EXPECT_GE(marked, height);
    EXPECT_LE(marked, 2 * height);
}

// What lies in front is drawn once, not again as what is hidden; and what is only about to be
// selected shows through as well.
TEST_F(SelectionOverlay, DrawsVisibleEdgesOnceAndHiddenOnesOfThePreselection)
{
    options().setSelectionWireframe(true);
    options().setPreselectionWireframe(true);
    options().setLineWidth(3.0f);
    const osg::NodePtr node = add(makeTriangle(-0.3f), 0, 0, -2);
    select({node->getId()}, {});
    const std::vector<ZN_RGBA32F> once = render();
    options().setWireframeAlwaysInFront(true);
    EXPECT_EQ(std::memcmp(render().data(), once.data(), once.size() * sizeof(ZN_RGBA32F)), 0);

    select({}, {node->getId()});
    add(makeSquare(50), 0, 0, 1);
    const std::vector<ZN_RGBA32F> marked = render();
    select({}, {});
    const std::vector<ZN_RGBA32F> plain = render();
    u32 changed = 0;
    for (u32 i = 0; i < width * height; ++i)
        changed += std::abs(marked[i].r - plain[i].r) + std::abs(marked[i].b - plain[i].b) > 0.1f;
    EXPECT_GE(changed, height);
    EXPECT_LE(changed, 2 * height);
}

TEST_F(SelectionOverlay, DrawsEveryEdgeInWireframeMode)
{
    add(makeTriangle(-0.3f));
    options().setLineWidth(4.0f);
    const std::vector<ZN_RGBA32F> plain = render();
    znRTRenderUtils::setWireframeMode(true);
    const std::vector<ZN_RGBA32F> wired = render();
    u32 darker = 0;
    for (u32 i = 0; i < width * height; ++i)
        darker += wired[i].b < 0.7f * plain[i].b;
    EXPECT_GE(darker, height / 2);
    EXPECT_LE(darker, 4 * height);
}
