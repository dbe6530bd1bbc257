#include "io/sceneImage.h"

#include "io/imageCodecs.h"

#include <utility>

namespace io {

osg::Ref<osg::Image> sceneImageOf(ImageData image, const std::string& fileName)
{
    flipRows(image);
    return sceneImageOfRows(std::move(image), fileName);
}

osg::Ref<osg::Image> sceneImageOfRows(ImageData image, const std::string& fileName)
{
    using osg::Image;
    constexpr u32 formats[] = {0, Image::L, Image::LA, Image::RGB, Image::RGBA};
    constexpr u32 types[] = {Image::UInt8, Image::UInt16, Image::Float16, Image::Float32};
    const osg::Ref<Image> result = Image::create();
    if (image.channels < 1 || image.channels > 4 ||
        !result->take(formats[image.channels], image.width, image.height, std::move(image.values),
                      types[int(image.type)]))
        return nullptr;
    result->setColorSpaceGamma(image.gamma);
    result->setFileName(fileName);
    return result;
}

} // namespace io
