#include "host/znRTSelectionSettings.h"
#include "host/znRenderOptions.h"
#include "host/znSceneDataManager.h"
#include "host/znSelectionColors.h"

#include <array>

znRTSelectionSettings& znRTSelectionSettings::current()
{
    static znRTSelectionSettings settings;
    return settings;
}

bool znRTSelectionSettings::update(const osg::RenderOptions* options)
{
    if (!options)
        return false;
    const znRTSelectionSettings before = *this;
    selectionWireframe = options->getSelectionWireframe();
    preselectionWireframe = options->getPreselectionWireframe();
    wireframeAlwaysInFront = options->getWireframeAlwaysInFront();
    wireframeOnMaterial = options->getWireframeOnMaterial();
    selectionOpacity = options->getSelectionOpacity();
    lineWidth = options->getLineWidth();
    gridLineWidth = options->getGridLineWidth();
    gridSubdivisions = options->getGridSubdivisions();
    gridMode = options->getGridMode();
    return !(before == *this);
}

znRenderOptions& znRenderOptions::getInstance()
{
    static znRenderOptions options;
    return options;
}

bool znRenderOptions::isAnySelectionEnabled() const
{
    const znRTSelectionSettings& settings = znRTSelectionSettings::current();
    return selectionEnabled && (settings.selectionWireframe || settings.preselectionWireframe ||
                                settings.selectionOpacity > 0.0f);
}

namespace {

std::array<znRTVector4f, 2>& selectionColors()
{
    static std::array<znRTVector4f, 2> colors{znRTVector4f(1.0f, 0.6f, 0.0f, 0.5f),
                                              znRTVector4f(0.2f, 0.6f, 1.0f, 0.5f)};
    return colors;
}

} // namespace

void znSelectionColors::setSelectionColor(const znRTVector4f& color)
{
    selectionColors()[selection] = color;
}

void znSelectionColors::setPreselectionColor(const znRTVector4f& color)
{
    selectionColors()[preselection] = color;
}

const znRTVector4f& znSelectionColors::getColor(int kind)
{
    return selectionColors()[kind == preselection ? preselection : selection];
}
