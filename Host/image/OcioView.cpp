#include "image/OcioView.h"

#ifdef ZN_HAS_OCIO

#include <OpenColorIO/OpenColorIO.h>

#include <algorithm>

namespace OCIO = OCIO_NAMESPACE;

struct OcioView::Transform
{
    OCIO::ConstCPUProcessorRcPtr processor;
};

namespace {

/// One line of a library's message.
std::string oneLine(const std::string& text)
{
    std::string line = text.substr(0, text.find('\n'));
    while (!line.empty() && (line.back() == '.' || line.back() == ' ' || line.back() == '\r'))
        line.pop_back();
    return line;
}

std::string listed(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text.empty() ? "none" : text;
}

std::string chooseName(const std::string& wanted, const std::string& standard,
                       const std::vector<std::string>& names, const std::string& kind)
{
    const std::string& name = wanted.empty() ? standard : wanted;
    if (std::find(names.begin(), names.end(), name) == names.end())
        throw OcioError("there is no " + kind + " '" + name + "'; there are " + listed(names),
                        true);
    return name;
}

/// Names under which configurations keep linear Rec. 709.
const char* const linearNames[] = {"lin_rec709",
                                   "lin_rec709_scene",
                                   "lin_srgb",
                                   "Linear Rec.709 (sRGB)",
                                   "Utility - Linear - Rec.709",
                                   "Utility - Linear - sRGB",
                                   "Linear BT.709",
                                   "Linear Rec.709",
                                   "Linear sRGB"};

} // namespace

bool OcioView::isAvailable()
{
    return true;
}

OcioView::OcioView(const std::string& file, const std::string& display, const std::string& view)
{
    try {
        OCIO::SetLoggingLevel(OCIO::LOGGING_LEVEL_NONE);
        const OCIO::ConstConfigRcPtr config = OCIO::Config::CreateFromFile(file.c_str());
        std::vector<std::string> displays, views;
        for (int i = 0; i < config->getNumDisplays(); ++i)
            displays.emplace_back(config->getDisplay(i));
        displayName = chooseName(display, config->getDefaultDisplay(), displays, "display");
        for (int i = 0; i < config->getNumViews(displayName.c_str()); ++i)
            views.emplace_back(config->getView(displayName.c_str(), i));
        viewName = chooseName(view, config->getDefaultView(displayName.c_str()), views, "view");

        sourceName = OCIO::ROLE_SCENE_LINEAR;
        for (const char* const name : linearNames)
            if (!knowsSource && config->getColorSpace(name)) {
                sourceName = name;
                knowsSource = true;
            }
        const OCIO::ConstProcessorRcPtr processor = config->getProcessor(
            sourceName.c_str(), displayName.c_str(), viewName.c_str(), OCIO::TRANSFORM_DIR_FORWARD);
        transform =
            std::make_shared<const Transform>(Transform{processor->getDefaultCPUProcessor()});
    } catch (const OCIO::Exception& error) {
        throw OcioError(oneLine(error.what()), false);
    }
}

void OcioView::apply(float* pixels, std::size_t count) const
{
    OCIO::PackedImageDesc image(pixels, long(count), 1, 4);
    transform->processor->apply(image);
}

#else

struct OcioView::Transform
{
};

bool OcioView::isAvailable()
{
    return false;
}

OcioView::OcioView(const std::string&, const std::string&, const std::string&)
{
    throw OcioError("this build has no OpenColorIO", false);
}

void OcioView::apply(float*, std::size_t) const {}

#endif
