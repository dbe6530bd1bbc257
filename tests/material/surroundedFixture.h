#pragma once

// Squares in a scene that an environment surrounds.

#include "light/environmentFixture.h"
#include "material/materialFixture.h"

namespace materialTest {

class SurroundedTest : public MaterialTest
{
protected:
    /// A scene lit by an environment.
    /// @param illumination  2 sampled, 1 looked up with traced shadows, 0 looked up
    void surround(const osg::Ref<osg::Image>& image, int illumination = 2, int samples = 1)
    {
        surroundings = environmentOf(image);
        setIllumination(illumination, samples);
        znRTMaterial::updateStaticSettings();
        scene.scene->addEnvironmentLight(osg::MaterialPtr(surroundings.get()));
        znRTRenderUtils::updateEnvironment();
    }
    ~SurroundedTest() override
    {
        scene.scene->clear();
        znRTRenderUtils::updateEnvironment();
    }
    /// Mean red over samples of four rays from above.
    double mean(int samples) { return mean(downward(0.2f, 0.1f), samples); }
    double mean(const znRTRayDifferentialPacket& ray, int samples)
    {
        double sum = 0.0;
        for (int i = 0; i < samples; ++i) {
            const znRTColorPacket c = shade(ray, 15, i).color;
            for (int lane = 0; lane < 4; ++lane)
                sum += double(c.r[lane]);
        }
        return sum / (4.0 * samples);
    }
    static osg::Ref<osg::Image> white()
    {
        return greyEnvironment(32, 16, [](int, int) { return 1.0f; });
    }

    osg::Ref<osg::USphereEnvironmentMaterial> surroundings;
};

} // namespace materialTest
