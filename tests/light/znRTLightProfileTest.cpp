#include "light/znRTLightProfile.h"
#include "host/osg/LightProfileAttachment.h"
#include "light/lightFixture.h"
#include "light/znRTUPointLight.h"
#include "light/znRTUSpotLight.h"

#include <functional>

namespace {

using AttachmentRef = osg::Ref<osg::LightProfileAttachment>;

/// A map of values by azimuth and polar angle, radians.
osg::Ref<osg::Image> makeMap(int width, int height,
                             const std::function<double(double, double)>& value)
{
    std::vector<float> texels;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            texels.push_back(
                float(value(2 * testPi * (x + 0.5) / width, testPi * (y + 0.5) / height)));
    const osg::Ref<osg::Image> image(osg::Image::create());
    image->set(osg::Image::L, u32(width), u32(height), 1, 1, 1, texels.data(), osg::Image::Float32);
    return image;
}

class LightProfile : public testing::Test
{
protected:
    LightProfile()
    {
        attachment->setUseLightProfile(true);
        placed.node->addAttachment(attachment.get());
        placed.core->setAttenuationType(0);
    }
    void setMap(int width, int height, const std::function<double(double, double)>& value)
    {
        map = makeMap(width, height, value);
        attachment->setDistributionMap(map.get());
        light.update();
    }
    /// Integral of the value over the sphere, by midpoints.
    double integral()
    {
        double sum = 0.0;
        constexpr int rows = 200, columns = 400;
        for (int y = 0; y < rows; ++y)
            for (int x = 0; x < columns; x += 4) {
                const double z = 1 - 2 * (y + 0.5) / rows, r = std::sqrt(1 - z * z);
                znRTVector3fPacket d;
                for (int lane = 0; lane < 4; ++lane) {
                    const double phi = 2 * testPi * (x + lane + 0.5) / columns;
                    d.setLane(lane, {float(r * std::cos(phi)), float(r * std::sin(phi)), float(z)});
                }
                const znFloatType<2> value = light.getProfile()->evaluate(d, everyLane4);
                for (int lane = 0; lane < 4; ++lane)
                    sum += value[lane];
            }
        return sum * 4 * testPi / (rows * columns);
    }
    float valueTowards(float x, float y, float z)
    {
        const znRTVector3fPacket d = inAllLanes(x, y, z).getNormalized();
        const znRTColorPacket value =
            light.getIntensity(d, -d, znRTVector2fPacket(0.0f, 0.0f), everyLane4);
        EXPECT_EQ(value.a[0], value.r[0]);
        return value.r[0];
    }

    AttachmentRef attachment{osg::LightProfileAttachment::create()};
    osg::Ref<osg::Image> map;
    PlacedCore<osg::UPointLight> placed;
    znRTUPointLight light{placed.node.get(), placed.core};
};

constexpr double uniform = 1.0 / (4.0 * testPi);

TEST_F(LightProfile, IsUniformWithoutAMap)
{
    light.update();
    ASSERT_NE(light.getProfile(), nullptr);
    EXPECT_FALSE(light.getProfile()->hasMap());
    EXPECT_FLOAT_EQ(light.getProfile()->getMaxIntensity(), 0.07957747f);
    EXPECT_NEAR(valueTowards(1, 2, 3), uniform, 1e-7);
    EXPECT_FLOAT_EQ(light.getPower(), light.getMaxIntensity()) << "one unit of flux";
    // The density of point lights is 1/pi, so photons carry pi times the flux.
    EXPECT_NEAR(sampledFlux(light), testPi, 1e-4);
}

TEST_F(LightProfile, IsTheSameWithAUniformMap)
{
    setMap(16, 8, [](double, double) { return 250.0; });
    ASSERT_TRUE(light.getProfile()->hasMap());
    EXPECT_NEAR(valueTowards(1, 2, 3), uniform, 1e-6);
    EXPECT_NEAR(valueTowards(0, 0, 1), uniform, 1e-6);
    EXPECT_NEAR(light.getProfile()->getMaxIntensity(), uniform, 1e-6);
    EXPECT_FLOAT_EQ(light.getPower(), light.getMaxIntensity());
    EXPECT_NEAR(sampledFlux(light), testPi, 0.01 * testPi);
}

TEST_F(LightProfile, IsOffWithItsSwitch)
{
    setMap(16, 8, [](double, double theta) { return theta < 1.0 ? 1.0 : 0.0; });
    EXPECT_NE(light.getProfile(), nullptr);
    attachment->setUseLightProfile(false);
    light.update();
    EXPECT_EQ(light.getProfile(), nullptr);
    EXPECT_NEAR(valueTowards(0, 0, 1), 1.0f, 1e-6f);
}

// A cosine lobe about -z: cos / pi, whose integral is 1.
TEST_F(LightProfile, IntegratesToOne)
{
    for (const int type : {1, 2, 3}) {
        attachment->setPhotometricType(type);
        setMap(64, 128, [](double, double theta) { return 500 * std::max(0.0, std::cos(theta)); });
        EXPECT_NEAR(integral(), 1.0, 0.01) << type;
        EXPECT_NEAR(valueTowards(0, 0, -1), 1.0 / testPi, 2e-3) << type;
        EXPECT_NEAR(valueTowards(1, 0, -1), std::sqrt(0.5) / testPi, 2e-3) << type;
        EXPECT_NEAR(valueTowards(0, 0, 1), 0.0, 1e-6) << "poles do not mix";
    }
}

TEST_F(LightProfile, DrawsDirectionsInProportionToItsValues)
{
    setMap(64, 256, [](double phi, double theta) {
        return (2.0 + std::sin(phi)) * std::max(0.0, std::cos(theta));
    });
    double least = 1e9, most = 0.0, sum = 0.0;
    constexpr int count = 100000;
    int central = 0;
    for (int i = 0; i < count; i += 4) {
        znRTVector3fPacket d;
        znFloatType<2> pdf;
        const znFloatType<2> value = light.getProfile()->sample(tablePoints(i), everyLane4, d, pdf);
        const znFloatType<2> again = light.getProfile()->getPdf(d, everyLane4);
        for (int lane = 0; lane < 4; ++lane) {
            ASSERT_NEAR(pdf[lane], again[lane], 1e-3f * pdf[lane]);
            sum += value[lane] / pdf[lane] / count;
            // Rows at the pole and at the edge of the light vary within a cell.
            const float theta = std::acos(-d.z[lane]);
            if (theta < 0.1f || theta > 1.4f)
                continue;
            ++central;
            least = std::min(least, double(value[lane] / pdf[lane]));
            most = std::max(most, double(value[lane] / pdf[lane]));
        }
    }
    EXPECT_GT(central, count / 2);
    EXPECT_NEAR(sum, 1.0, 0.01);
    EXPECT_GT(least, 0.9);
    EXPECT_LT(most, 1.1);
}

// u counts from the light's x towards its y axis, v from its -z.
TEST_F(LightProfile, FollowsTheAxesOfTheLight)
{
    placed.turn({0, 1, 0}, {0, 0, 1}, {1, 0, 0}); // x to y, y to z, z to x
    setMap(64, 32, [](double phi, double theta) {
        return theta > testPi / 4 && theta < 3 * testPi / 4 && phi < testPi / 2 ? 1.0 : 0.0;
    });
    EXPECT_GT(valueTowards(0, 1, 1), 0.1f) << "between the light's x and y";
    EXPECT_NEAR(valueTowards(0, -1, 1), 0.0f, 1e-6f);
    EXPECT_NEAR(valueTowards(0, 1, -1), 0.0f, 1e-6f);
    EXPECT_NEAR(valueTowards(-1, 0, 0), 0.0f, 1e-6f) << "the light's -z";
    setMap(64, 32, [](double, double theta) { return theta < 0.5 ? 1.0 : 0.0; });
    EXPECT_GT(valueTowards(-1, 0, 0), 0.5f);
}

TEST_F(LightProfile, RepeatsOrEndsAtTheSeamByItsType)
{
    const auto step = [](double phi, double) { return phi < testPi ? 1.0 : 3.0; };
    attachment->setPhotometricType(3);
    setMap(4, 2, step);
    const float wrapped = valueTowards(1, 0, 0);
    attachment->setPhotometricType(1);
    light.update();
    const float clamped = valueTowards(1, 0, 0);
    EXPECT_NEAR(wrapped / clamped, 2.0f, 1e-3f) << "the mean of 1 and 3 against 1";
}

TEST_F(LightProfile, CountsCandelaWhereTheLightAsksForThem)
{
    attachment->setUseProfileIntensity(true);
    setMap(16, 64, [](double, double theta) { return theta < testPi / 2 ? 100.0 : 0.0; });
    EXPECT_NEAR(valueTowards(0.1f, 0, -1), 100.0f, 1e-3f);
    EXPECT_NEAR(light.getPower(), 100.0 * 2.0 * testPi, 0.1);
    EXPECT_NEAR(sampledFlux(light), testPi * 100.0 * 2.0 * testPi, 20.0);
}

TEST_F(LightProfile, ReadsEditedAndExchangedMaps)
{
    setMap(2, 2, [](double, double theta) { return theta < testPi / 2 ? 1.0 : 0.0; });
    const znRTLightProfile* const before = light.getProfile();
    EXPECT_GT(valueTowards(0, 0, -1), valueTowards(0, 0, 1));
    setMap(2, 2, [](double, double theta) { return theta < testPi / 2 ? 0.0 : 1.0; });
    EXPECT_LT(valueTowards(0, 0, -1), valueTowards(0, 0, 1));
    EXPECT_EQ(light.getProfile(), before) << "of the same attachment";
    setMap(2, 2, [](double, double) { return 0.0; });
    EXPECT_EQ(valueTowards(0, 0, 1), 0.0f);
    EXPECT_EQ(light.getPower(), 0.0f);
}

TEST_F(LightProfile, ReplacesTheConeOfASpot)
{
    PlacedCore<osg::USpotLight> spotCore;
    spotCore.node->addAttachment(attachment.get());
    spotCore.core->setAttenuationType(0);
    map = makeMap(16, 8, [](double, double) { return 1.0; });
    attachment->setDistributionMap(map.get());
    znRTUSpotLight spot(spotCore.node.get(), spotCore.core);
    spot.update();
    const znRTVector3fPacket d = inAllLanes(0, 0, 1); // behind
    EXPECT_NEAR(spot.getIntensity(d, -d, znRTVector2fPacket(0.0f, 0.0f), everyLane4).r[0], uniform,
                1e-6);
    EXPECT_NEAR(sampledFlux(spot), testPi, 0.01 * testPi);
    EXPECT_FLOAT_EQ(spot.getPower(), 1.0f);
}

} // namespace
