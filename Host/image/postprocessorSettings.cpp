// The post-processor of a view, from the settings of its camera.

#include "host/osg/CameraDecorator.h"
#include "host/osg/Viewport.h"
#include "host/znImagePostprocessor.h"

namespace {

znColorProfile& displayProfile()
{
    static znColorProfile s_profile;
    return s_profile;
}

std::array<float, 4> toArray(const osg::Vec4f& v)
{
    return {v[0], v[1], v[2], v[3]};
}

void setProfile(znColorProfile& profile, int kind, float displayGamma)
{
    switch (kind) {
    case znColorProfile::linear:
        profile.kind = znColorProfile::linear;
        break;
    case znColorProfile::gamma:
        profile.setGamma(displayGamma);
        break;
    case znColorProfile::table:
        profile = displayProfile();
        break;
    default:
        profile.kind = znColorProfile::sRGB;
    }
}

znImagePostprocessor makePostprocessor(const osg::TonemappingSettings& settings)
{
    znImagePostprocessor p;
    p.useTonemapping = settings.getUseTonemapping();
    p.tonemapper = settings.getTonemapperType();
    p.exposure = settings.getExposure();
    p.whitepoint = settings.getWhitepoint();
    p.burn = settings.getBurn();
    p.contrast = settings.getContrast();
    p.saturation = settings.getSaturation();
    p.whiteBalanceTemperature = settings.getWhiteBalanceTemperature();
    p.whiteBalanceTint = settings.getWhiteBalanceTint();
    p.liftValues = toArray(settings.getLift());
    p.gammaValues = toArray(settings.getGamma());
    p.gainValues = toArray(settings.getGain());
    const auto& matrix = settings.getColorMatrix();
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 4; ++column)
            p.matrixValues[row][column] = float(matrix[column][row]);
    p.useColorCorrection = settings.getUseColorCorrection();
    p.correctBackplate = settings.getCorrectBackplate();
    p.correctFrontplate = settings.getCorrectFrontplate();
    p.flags = settings.getTonemapFloatImages() ? znImagePostprocessor::flagTonemapFloatImages : 0;
    setProfile(p.profile, settings.getColorProfile(), settings.getDisplayGamma());
    p.update();
    return p;
}

} // namespace

void znImagePostprocessor::setDisplayProfile(const znColorProfile& profile)
{
    displayProfile() = profile;
}

znImagePostprocessor znImagePostprocessor::getImagePostprocessor(const osg::Camera* camera)
{
    if (!camera)
        return {};
    const osg::UberCameraPtr uberCamera =
        osg::getUndecorated(osg::FCHandle(const_cast<osg::Camera*>(camera)));
    if (!uberCamera || !uberCamera->getTonemappingSettings())
        return {};
    return makePostprocessor(*uberCamera->getTonemappingSettings());
}

znImagePostprocessor znImagePostprocessor::getImagePostprocessor(const osg::Viewport* viewport)
{
    return getImagePostprocessor(viewport ? viewport->getCamera().get() : nullptr);
}
