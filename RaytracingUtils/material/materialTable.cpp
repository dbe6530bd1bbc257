#include "material/materialTable.h"

#include "host/osg/Materials.h"
#include "host/znLog.h"
#include "material/standInMaterials.h"
#include "material/znRTBrushedMetalMaterial.h"
#include "material/znRTChromeMaterial.h"
#include "material/znRTChunkMaterial.h"
#include "material/znRTDummyMaterial.h"
#include "material/znRTGlassMaterial.h"
#include "material/znRTLightMaterial.h"
#include "material/znRTLightPortalMaterial.h"
#include "material/znRTPhongMaterial.h"
#include "material/znRTPlainMaterial.h"
#include "material/znRTPlasticMaterial.h"
#include "material/znRTReflectivePlasticMaterial.h"
#include "material/znRTShadowMaterial.h"
#include "material/znRTSimpleMaterial.h"
#include "material/znRTSkylightMaterial.h"
#include "material/znRTSphereEnvironmentMaterial.h"
#include "material/znRTSubstanceMaterial.h"
#include "material/znRTSwitchMaterial.h"
#include "material/znRTTriplanarMaterial.h"
#include "material/znRTVolumeScatterMaterial.h"

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
    const char* shown; ///< how its surfaces look instead
};

template <class Shading>
znRTMaterial* create(const osg::MaterialPtr& material)
{
    return new Shading(material);
}

template <class Host, class Shading>
constexpr MaterialRow row()
{
    return {&osg::isKindOf<Host>, &create<Shading>, nullptr, nullptr};
}

template <class Substitute>
constexpr const char* lookOf = "show plain colours";
template <>
constexpr const char* lookOf<znRTDummyMaterial> = "are black";
template <>
constexpr const char* lookOf<znRTMatteStandIn> = "are matte";
template <>
constexpr const char* lookOf<znRTCoatedStandIn> = "look like coated plastic";
template <>
constexpr const char* lookOf<znRTMetalStandIn> = "look like chrome";

/// A kind that another class stands in for.
template <class Host, class Substitute>
constexpr MaterialRow substituted(const char* missing)
{
    return {&osg::isKindOf<Host>, &create<Substitute>, missing, lookOf<Substitute>};
}

using Plain = znRTPlainMaterial;
using Dummy = znRTDummyMaterial;
using Matte = znRTMatteStandIn;
using Coated = znRTCoatedStandIn;
using Metal = znRTMetalStandIn;

// The first row wins whose type is the container's own or one of its ancestors: keep a derived
// type above its base, and the fallback last.
const MaterialRow materialTable[] = {
    row<osg::UPhongMaterial, znRTPhongMaterial>(),
    substituted<osg::UVelvetMaterial, Matte>("znRTVelvetMaterial"),
    substituted<osg::UWovenClothMaterial, Matte>("znRTWovenClothMaterial"),
    substituted<osg::UMeasuredMaterial, Plain>("znRTMeasuredMaterial"),
    substituted<osg::UMeasuredCarpaintMaterial, Coated>("znRTMeasuredCarpaintMaterial"),
    substituted<osg::UMeasuredCarpaint2Material, Coated>("znRTMeasuredCarpaint2Material"),
    substituted<osg::UOCSMaterial, Plain>("znRTOCSMaterial"),
    substituted<osg::UMetallicPaintMaterial, Coated>("znRTMetallicPaintMaterial"),
    substituted<osg::UUnicolorPaintMaterial, Coated>("znRTUnicolorPaintMaterial"),
    substituted<osg::UFlipflopMaterial, Coated>("znRTFlipflopMaterial"),
    row<osg::UPlasticMaterial, znRTPlasticMaterial>(),
    row<osg::UReflectivePlasticMaterial, znRTReflectivePlasticMaterial>(),
    row<osg::UTriplanarMaterial, znRTTriplanarMaterial>(),
    row<osg::UReflectiveTriplanarMaterial, znRTReflectiveTriplanarMaterial>(),
    row<osg::UChromeMaterial, znRTChromeMaterial>(),
    row<osg::UBrushedMetalMaterial, znRTBrushedMetalMaterial>(),
    substituted<osg::UCarbonMaterial, Coated>("znRTCarbonMaterial"),
    substituted<osg::UCarbonMaterial2D, Coated>("znRTCarbonMaterial2D"),
    row<osg::UGlassMaterial, znRTGlassMaterial>(),
    substituted<osg::UTireMaterial, Coated>("znRTTireMaterial"),
    substituted<osg::USVBRDFMaterial, Coated>("znRTSVBRDFMaterial"),
    row<osg::USubstanceMaterial, znRTSubstanceMaterial>(),
    substituted<osg::ULineChromeMaterial, Metal>("znRTLineChromeMaterial"),
    row<osg::UShadowMaterial, znRTShadowMaterial>(),
    substituted<osg::UGlowMaterial, Dummy>("znRTGlowMaterial"),
    substituted<osg::UXrayMaterial, Plain>("znRTXRayMaterial"),
    row<osg::UVolumeScatterMaterial, znRTVolumeScatterMaterial>(),
    row<osg::ULightPortalMaterial, znRTLightPortalMaterial>(),
    row<osg::USkylightMaterial, znRTSkylightMaterial>(),
    row<osg::USphereEnvironmentMaterial, znRTSphereEnvironmentMaterial>(),
    substituted<osg::ULayeredMaterial, Dummy>("znRTLayeredMaterial"),
    row<osg::ULightMaterial, znRTLightMaterial>(),
    substituted<osg::UXRiteMeasuredMaterial, Dummy>("znRTXRiteMeasuredMaterial"),
    row<osg::SwitchMaterial, znRTSwitchMaterial>(),
    substituted<osg::MultiPassMaterial, Dummy>("znRTMultipassMaterial"),
    row<osg::SimpleMaterial, znRTSimpleMaterial>(),
    row<osg::ChunkMaterial, znRTChunkMaterial>(),
    row<osg::Material, znRTDummyMaterial>(),
};
static_assert(std::size(materialTable) == 38);

void tellOnce(const std::string& line)
{
    static std::mutex lock;
    static std::set<std::string> told;
    const std::lock_guard guard(lock);
    if (told.insert(line).second)
        znLog::warning(line.c_str());
}

/// Once per kind, where surfaces look otherwise than their kind says.
void tellOfSubstitute(const MaterialRow& row, const znRTMaterial& made,
                      const osg::MaterialPtr& material)
{
    if (row.missing)
        tellOnce(std::string(row.missing) + " is not there yet: its surfaces " + row.shown + '.');
    else if (made.isOfType(znRTDummyMaterial::id))
        tellOnce(std::string(material->getType().getName()) +
                 " is of an unknown kind: its surfaces " + lookOf<znRTDummyMaterial> + '.');
}

} // namespace

znRTMaterial* createMaterialObject(const osg::MaterialPtr& material)
{
    for (const MaterialRow& row : materialTable) {
        if (!row.matches(material))
            continue;
        znRTMaterial* const made = row.create(material);
        tellOfSubstitute(row, *made, material);
        return made;
    }
    return new znRTDummyMaterial(material);
}
