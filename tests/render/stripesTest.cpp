#include "render/integrators/stripes.h"

#include "host/osg/SurfaceAnalysisAttachment.h"
#include "host/znRTSceneHandler.h"
#include "integratorFixture.h"
#include "render/integrators/znRTAnalyticRenderingIntegrator.h"

#include <cmath>
#include <numbers>

namespace {

using Settings = znRTSurfaceAnalysisSettings;
using Attachment = osg::SurfaceAnalysisAttachment;

osg::Ref<Attachment> makeAttachment(Settings::Mode mode, float count = 10.0f)
{
    const osg::Ref<Attachment> attachment(Attachment::create());
    attachment->setMode(mode);
    attachment->setStripeCount(count);
    return attachment;
}

Settings read(const osg::Ref<Attachment>& attachment)
{
    Settings settings;
    settings.updateSettings(attachment.get().get());
    return settings;
}

znRTVector3fPacket unit(float x, float y, float z)
{
    return znRTVector3fPacket(x, y, z).getNormalized();
}

class AnalyticDisplay : public IntegratorTest
{
protected:
    ~AnalyticDisplay() override { znRTSceneHandler::s_currentSurfaceAnalysisSettings = {}; }
    void use(const osg::Ref<Attachment>& attachment)
    {
        znRTSceneHandler::s_currentSurfaceAnalysisSettings = read(attachment);
    }
    ScriptedMaterial material;
};

} // namespace

// The angle to the lights' direction, as a share of half a turn, times the count.
TEST(StripePlace, CountsTheAngleToLinearLights)
{
    const auto attachment = makeAttachment(Settings::linear, 8.0f);
    attachment->setLinearLightDirection({0, 0, 2});
    const Settings settings = read(attachment);
    const znRTVector3fPacket anywhere(3.0f, 4.0f, 5.0f);
    for (double degrees : {0.0, 10.0, 45.0, 90.0, 135.0, 180.0}) {
        const double a = degrees * std::numbers::pi / 180.0;
        const znRTVector3fPacket d(0.0f, float(std::sin(a)), float(std::cos(a)));
        EXPECT_NEAR(stripePlace(settings, anywhere, d)[0], degrees / 180.0 * 8.0, 1e-3) << degrees;
    }
}

TEST(StripePlace, CountsTheAngleAboutTheAxisOfALightSphere)
{
    const auto attachment = makeAttachment(Settings::sphere, 12.0f);
    attachment->setLightSphereAxis({0, 1, 0});
    attachment->setLightSphereAxisUTangent({1, 5, 0}); // made orthogonal to the axis: x
    const Settings settings = read(attachment);
    for (double degrees : {-170.0, -90.0, -1.0, 0.0, 30.0, 90.0, 179.0}) {
        const double a = degrees * std::numbers::pi / 180.0;
        // From x toward y cross x = -z, at any height along the axis.
        for (float height : {-2.0f, 0.0f, 0.5f}) {
            const znRTVector3fPacket d = unit(float(std::cos(a)), height, float(-std::sin(a)));
            EXPECT_NEAR(stripePlace(settings, d, d)[2], degrees / 360.0 * 12.0, 1e-3) << degrees;
        }
    }
}

TEST(StripePlace, CountsTheWayAlongALightPlane)
{
    const auto attachment = makeAttachment(Settings::plane, 6.0f);
    attachment->setLightPlaneOrigin({1, 0, 10});
    attachment->setLightPlaneAxisU({3, 0, 0});
    attachment->setLightPlaneAxisV({1, 2, 0}); // not at a right angle
    const Settings settings = read(attachment);
    const auto place = [&](float a, float b) {
        // From the origin through the point origin + a U + b V.
        return stripePlace(settings, {0.0f, 0.0f, 0.0f}, unit(1 + 3 * a + b, 2 * b, 10))[1];
    };
    EXPECT_NEAR(place(0.0f, 0.0f), 3.0f, 1e-4f);
    EXPECT_NEAR(place(-0.9f, 0.5f), 0.3f, 1e-4f);
    EXPECT_NEAR(place(0.9f, -0.9f), 5.7f, 1e-4f);
    EXPECT_TRUE(std::isnan(place(1.1f, 0.0f)));
    EXPECT_TRUE(std::isnan(place(0.0f, -1.1f)));
    // Away from the plane, and along it.
    EXPECT_TRUE(std::isnan(stripePlace(settings, {0.0f, 0.0f, 0.0f}, unit(1, 0, -10))[0]));
    EXPECT_TRUE(std::isnan(stripePlace(settings, {0.0f, 0.0f, 0.0f}, unit(1, 0, 0))[0]));
}

TEST(Stripe, IsTheFirstPartOfAPeriod)
{
    const auto attachment = makeAttachment(Settings::linear);
    attachment->setStripeWidth(0.25f);
    const Settings settings = read(attachment);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(moveMask(isInStripe(settings, {0.0f, 0.24f, 0.26f, 0.99f})), 3);
    EXPECT_EQ(moveMask(isInStripe(settings, {-0.9f, -0.5f, 7.1f, nan})), 5);
}

// Rays straight down onto a plane mirror straight up, at 0 degrees to vertical lights: in a stripe.
// Tilted by 45 degrees the plane mirrors to the side, at 90 degrees: place 1 of 2, a stripe again;
// by 30 degrees, at 60: place 2/3, between the stripes.
TEST_F(AnalyticDisplay, ShowsTheMirroredStripes)
{
    const auto tilted = [&](double degrees, float x) {
        osg::Matrix m = makeTranslation(x, 0.0f, 0.0f);
        const float c = float(std::cos(degrees * std::numbers::pi / 180.0));
        const float s = float(std::sin(degrees * std::numbers::pi / 180.0));
        m[0][0] = c;
        m[0][2] = s;
        m[2][0] = -s;
        m[2][2] = c;
        add(makeSquare(), material, m);
    };
    tilted(0.0, 0.0f);
    tilted(44.0, 4.0f);
    tilted(30.0, 8.0f);
    scene.build();
    const auto attachment = makeAttachment(Settings::linear, 2.0f);
    attachment->setStripeWidth(0.5f);
    attachment->setGlossyColor({0.5f, 0.25f, 1.0f});
    attachment->setStripeColor({1.0f, 1.0f, 0.5f});
    attachment->setBaseColor({0.2f, 0.1f, 0.0f});
    use(attachment);
    znRTRayDifferentialPacket ray = downward({0.0f, 4.0f, 8.0f, 12.0f}, 0.1f);
    integrate<znRTAnalyticRenderingIntegrator>(ray);
    // 88 degrees: place 0.978, between stripes. The base is lit from the eye: 1/4 + 3/4 cos.
    const float light44 = 0.25f + 0.75f * float(std::cos(44.0 * std::numbers::pi / 180.0));
    const float light30 = 0.25f + 0.75f * float(std::cos(30.0 * std::numbers::pi / 180.0));
    EXPECT_LANES_NEAR(fragment.colour.r, 0.7f, 0.2f * light44, 0.2f * light30, background.r, 1e-4f);
    EXPECT_LANES_NEAR(fragment.colour.g, 0.35f, 0.1f * light44, 0.1f * light30, background.g,
                      1e-4f);
    EXPECT_LANES_NEAR(fragment.colour.b, 0.5f, 0.0f, 0.0f, background.b, 1e-4f);
    EXPECT_LANES_EQ(fragment.colour.a, 1.0f, 1.0f, 1.0f, background.a);
    EXPECT_LANES_EQ(fragment.coverage, 1.0f, 1.0f, 1.0f, 0.0f);

    // Isophotes follow the normal: 44 degrees are place 0.489, inside.
    attachment->setIsophotes(true);
    use(attachment);
    integrate<znRTAnalyticRenderingIntegrator>(ray);
    EXPECT_NEAR(fragment.colour.b[1], 0.5f, 1e-4f);
    EXPECT_NEAR(fragment.colour.b[2], 0.5f, 1e-4f);
}

TEST_F(AnalyticDisplay, ShowsThePreviewOfTheMaterialsWithoutALight)
{
    material.analyticColor = znRTColor(0.3f, 0.5f, 0.7f);
    add(makeSquare(), material);
    scene.build();
    use(makeAttachment(Settings::off));
    integrate<znRTAnalyticRenderingIntegrator>(downward({0.0f, 0.5f, 9.0f, 9.0f}, 0.1f));
    EXPECT_LANES_EQ(fragment.colour.g, 0.5f, 0.5f, background.g, background.g);
    EXPECT_TRUE(material.masks.empty());
}
