#include "material/materialTable.h"

#include "host/osg/Materials.h"
#include "host/znLog.h"
#include "material/znRTDummyMaterial.h"
#include "material/znRTLightMaterial.h"
#include "material/znRTPhongMaterial.h"
#include "material/znRTPlainMaterial.h"
#include "material/znRTPlasticMaterial.h"
#include "material/znRTSimpleMaterial.h"
#include "material/znRTSphereEnvironmentMaterial.h"
#include "material/znRTSubstanceMaterial.h"

#include <iterator>
#include <mutex>
#include <set>
#include <string>

namespace {

struct MaterialRow
{
    bool (*matches)(const osg::FCHandle& material);
    znRTMaterial* (*create)(const osg::MaterialPtr& material);
    /// Name of the class that the kind is to have; null when create makes it.
    const char* missing;
};

template <class Shading>
znRTMaterial* create(const osg::MaterialPtr& material)
{
    return new Shading(material);
}

template <class Host, class Shading>
constexpr MaterialRow row()
{
    return {&osg::isKindOf<Host>, &create<Shading>, nullptr};
}

/// A kind that another class stands in for.
template <class Host, class Substitute>
constexpr MaterialRow substituted(const char* missing)
{
    return {&osg::isKindOf<Host>, &create<Substitute>, missing};
}

using Plain = znRTPlainMaterial;
using Dummy = znRTDummyMaterial;

// The first row wins whose type is the container's own or one of its ancestors: keep a derived
// type above its base, and the fallback last.
const MaterialRow materialTable[] = {
    row<osg::UPhongMaterial, znRTPhongMaterial>(),
    substituted<osg::UVelvetMaterial, Plain>("znRTVelvetMaterial"),
    substituted<osg::UWovenClothMaterial, Plain>("znRTWovenClothMaterial"),
    substituted<osg::UMeasuredMaterial, Plain>("znRTMeasuredMaterial"),
    substituted<osg::UMeasuredCarpaintMaterial, Plain>("znRTMeasuredCarpaintMaterial"),
    substituted<osg::UMeasuredCarpaint2Material, Plain>("znRTMeasuredCarpaint2Material"),
    substituted<osg::UOCSMaterial, Plain>("znRTOCSMaterial"),
    substituted<osg::UMetallicPaintMaterial, Plain>("znRTMetallicPaintMaterial"),
    substituted<osg::UUnicolorPaintMaterial, Plain>("znRTUnicolorPaintMaterial"),
    substituted<osg::UFlipflopMaterial, Plain>("znRTFlipflopMaterial"),
    row<osg::UPlasticMaterial, znRTPlasticMaterial>(),
    substituted<osg::UReflectivePlasticMaterial, Plain>("znRTReflectivePlasticMaterial"),
    substituted<osg::UTriplanarMaterial, Plain>("znRTTriplanarMaterial"),
    substituted<osg::UReflectiveTriplanarMaterial, Plain>("znRTReflectiveTriplanarMaterial"),
    substituted<osg::UChromeMaterial, Plain>("znRTChromeMaterial"),
    substituted<osg::UBrushedMetalMaterial, Plain>("znRTBrushedMetalMaterial"),
    substituted<osg::UCarbonMaterial, Plain>("znRTCarbonMaterial"),
    substituted<osg::UCarbonMaterial2D, Plain>("znRTCarbonMaterial2D"),
    substituted<osg::UGlassMaterial, Plain>("znRTGlassMaterial"),
    substituted<osg::UTireMaterial, Plain>("znRTTireMaterial"),
    substituted<osg::USVBRDFMaterial, Plain>("znRTSVBRDFMaterial"),
    row<osg::USubstanceMaterial, znRTSubstanceMaterial>(),
    substituted<osg::ULineChromeMaterial, Plain>("znRTLineChromeMaterial"),
    substituted<osg::UShadowMaterial, Plain>("znRTShadowMaterial"),
    substituted<osg::UGlowMaterial, Dummy>("znRTGlowMaterial"),
    substituted<osg::UXrayMaterial, Plain>("znRTXRayMaterial"),
    substituted<osg::UVolumeScatterMaterial, Dummy>("znRTVolumeScatterMaterial"),
    substituted<osg::ULightPortalMaterial, Dummy>("znRTLightPortalMaterial"),
    row<osg::USkylightMaterial, znRTSphereEnvironmentMaterial>(),
    row<osg::USphereEnvironmentMaterial, znRTSphereEnvironmentMaterial>(),
    substituted<osg::ULayeredMaterial, Dummy>("znRTLayeredMaterial"),
    row<osg::ULightMaterial, znRTLightMaterial>(),
    substituted<osg::UXRiteMeasuredMaterial, Dummy>("znRTXRiteMeasuredMaterial"),
    substituted<osg::SwitchMaterial, Dummy>("znRTSwitchMaterial"),
    substituted<osg::MultiPassMaterial, Dummy>("znRTMultipassMaterial"),
    row<osg::SimpleMaterial, znRTSimpleMaterial>(),
    row<osg::ChunkMaterial, znRTChunkMaterial>(),
    row<osg::Material, znRTDummyMaterial>(),
};
static_assert(std::size(materialTable) == 38);

/// Once per kind.
void tellOfSubstitute(const char* missing, const znRTMaterial& substitute)
{
    static std::mutex lock;
    static std::set<std::string> told;
    const std::lock_guard guard(lock);
    if (told.insert(missing).second)
        znLog::warning(
            (std::string(missing) + " is not there yet: " +
             (substitute.isOfType(znRTDummyMaterial::id) ? "its surfaces are black"
                                                         : "its surfaces show plain colours"))
                .c_str());
}

} // namespace

znRTMaterial* createMaterialObject(const osg::MaterialPtr& material)
{
    for (const MaterialRow& row : materialTable) {
        if (!row.matches(material))
            continue;
        znRTMaterial* const made = row.create(material);
        if (row.missing)
            tellOfSubstitute(row.missing, *made);
        return made;
    }
    return new znRTDummyMaterial(material);
}
