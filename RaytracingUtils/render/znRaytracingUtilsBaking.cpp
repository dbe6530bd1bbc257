// Baking and ray files. Sets of directions can be made; what takes them has no body yet, says so
// once and leaves its outputs alone.

#include "gi/znRTSampleSet.h"
#include "render/notAvailable.h"
#include "render/znRaytracingUtils.h"

namespace {

znRTOnceWarning s_noBaking("Baking of ambient occlusion is not available yet.");
znRTOnceWarning s_noRayFiles("Ray files are not available yet.");

} // namespace

const znRTSampleSet* znRaytracingUtils::createSampleSet(u32 countU, u32 countV, bool spare,
                                                        bool fullSphere, float spareA, float spareB)
{
    return new znRTSampleSet(countU, countV, spare, fullSphere, spareA, spareB);
}

void znRaytracingUtils::deleteSampleSet(const znRTSampleSet* set)
{
    delete set;
}

void znRaytracingUtils::executeAODirectIllumination(u32, osg::TransformationMatrix<float>,
                                                    const osg::Point<float, 3>*,
                                                    const osg::Vector<float, 3>*,
                                                    osg::Vector<float, 4>*, bool,
                                                    const znRTSampleSet*, bool, bool)
{
    s_noBaking();
}

void znRaytracingUtils::executeAOGather(u32, osg::TransformationMatrix<float>,
                                        const osg::Point<float, 3>*, const osg::Vector<float, 3>*,
                                        osg::Vector<float, 4>*, osg::Vector<float, 3>, bool,
                                        const znRTSampleSet*, bool, bool)
{
    s_noBaking();
}

void znRaytracingUtils::executeRefineGeometry(const std::string&, int, znGeoSubdivisionList*, u32,
                                              u32, float)
{
    s_noBaking();
}

void znRaytracingUtils::buildRayFileKDTree(osg::FCPtr<osg::RayFileAttachment>)
{
    s_noRayFiles();
}

bool znRaytracingUtils::generateRayFile(const char*, const std::vector<znNodePtr>&, u32, u32, bool)
{
    s_noRayFiles();
    return false;
}
