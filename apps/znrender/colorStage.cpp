#include "colorStage.h"

#include "chooseView.h"

#include "host/znImagePostprocessor.h"
#include "host/znLog.h"
#include "host/znRTColorTransforms.h"
#include "image/colorTable.h"
#include "io/InputError.h"
#include "io/InputFile.h"
#include "io/iccProfile.h"

#include <fmt/format.h>
#include <tbb/parallel_for.h>

#include <cmath>

namespace {

using Transforms = znRTColorTransforms;

std::vector<u8> readProfile(const std::string& path, io::Limits limits)
{
    limits.fileSize = std::min(limits.fileSize, u64(16) << 20);
    const std::vector<u8> bytes = io::InputFile::open(path, limits).readAll();
    const std::string fault = io::iccFault(bytes, true);
    if (!fault.empty())
        throw io::InputError(path, fault);
    znColorProfile shown;
    shown.entries = bakeICCProfile(bytes.data(), bytes.size(), znColorProfile::tableSize);
    if (!shown.entries)
        throw io::InputError(path, "the ICC profile is not one of a display");
    shown.kind = znColorProfile::table;
    znImagePostprocessor::setDisplayProfile(shown);
    return bytes;
}

OcioView readConfiguration(const ColorOptions& options, const io::Limits& limits)
{
    // Says what is wrong with a name before the library looks at it.
    io::InputFile::open(options.configuration, limits);
    try {
        return OcioView(options.configuration, options.display, options.view);
    } catch (const OcioError& error) {
        if (error.isWrongName)
            throw UsageError(fmt::format("--ocio {}: {}", io::printable(options.configuration),
                                         io::printable(error.what(), 1000)));
        throw io::InputError(options.configuration, error.what());
    }
}

/// Colours of covered surfaces, without what is seen through them.
void unpremultiply(float* pixel)
{
    const float alpha = pixel[3];
    for (int c = 0; c < 3; ++c)
        pixel[c] = alpha > 0.0f ? pixel[c] / alpha : 0.0f;
}

} // namespace

ColorStage::ColorStage(const Options& options) : tonemapper(options.color.tonemapper)
{
    if (!options.color.configuration.empty()) {
        configured = readConfiguration(options.color, options.limits);
        znLog::info(
            fmt::format("Colours: display '{}', view '{}', from '{}'{}", configured->getDisplay(),
                        configured->getView(), configured->getSource(),
                        configured->isSourceKnown() ? "" : ", which is taken for linear Rec. 709")
                .c_str());
    }
    if (!options.color.profile.empty())
        profile = readProfile(options.color.profile, options.limits);
}

void ColorStage::prepare(osg::UberCamera& camera, bool isLight) const
{
    const bool isTold = bool(camera.getTonemappingSettings());
    osg::TonemappingSettings& settings = tonemappingOf(camera);
    if (tonemapper >= 0)
        settings.setTonemapperType(tonemapper);
    else if (!isTold || settings.getTonemapperType() == znImagePostprocessor::tonemapLinear)
        settings.setTonemapperType(isLight ? znImagePostprocessor::tonemapNeutral
                                           : znImagePostprocessor::tonemapLinear);
    if (!profile.empty() && !configured)
        settings.setColorProfile(znColorProfile::table);
}

io::ImageData ColorStage::getPicture(FrameDriver& driver, const osg::UberCameraPtr& camera,
                                     bool withAlpha) const
{
    if (!configured && !withAlpha) {
        io::ImageData image = driver.getImage(FrameDriver::Colors::display);
        image.iccProfile = profile;
        return image;
    }
    const znImagePostprocessor p = znImagePostprocessor::getImagePostprocessor(camera.get());
    io::ImageData image = driver.getImage(FrameDriver::Colors::linear);
    const auto transformRow = [&](u32 y) {
        float* const row =
            reinterpret_cast<float*>(image.values.data() + u64(y) * image.getRowSize());
        for (u32 x = 0; x < image.width; ++x) {
            float* const pixel = row + 4 * u64(x);
            if (withAlpha)
                unpremultiply(pixel);
            __m128 color = Transforms::applyWhitebalancing(_mm_loadu_ps(pixel), p);
            if (configured) {
                const float alpha = pixel[3];
                _mm_storeu_ps(pixel, _mm_mul_ps(color, _mm_set1_ps(p.exposureScale)));
                pixel[3] = alpha;
                continue;
            }
            color = Transforms::applyTonemapper(color, p);
            if (p.useColorCorrection)
                color = Transforms::applyColorCorrection(color, p.lift, p.gamma, p.gain, p.matrix);
            _mm_storeu_ps(pixel, Transforms::applyColorProfile(color, p.profile));
        }
        if (configured)
            configured->apply(row, image.width);
    };
    tbb::parallel_for(0u, image.height, transformRow);
    image.gamma = 2.2f;
    image.iccProfile = profile;
    return image;
}
