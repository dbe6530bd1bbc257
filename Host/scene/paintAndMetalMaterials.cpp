#include "host/osg/Materials.h"
#include "scene/finishAttributes.h"

namespace osg {

ZN_MATERIAL_BODY(UMetallicPaintMaterial)
ZN_MATERIAL_BODY(UUnicolorPaintMaterial)
ZN_MATERIAL_BODY(UFlipflopMaterial)
ZN_MATERIAL_BODY(UCarbonMaterial)
ZN_MATERIAL_BODY(UCarbonMaterial2D)
ZN_MATERIAL_BODY(UChromeMaterial)
ZN_MATERIAL_BODY(ULineChromeMaterial)
ZN_MATERIAL_BODY(UBrushedMetalMaterial)
ZN_MATERIAL_BODY(UTireMaterial)

namespace {

constexpr u32 aluminium = 1, chromium = 7;

} // namespace

void UChromeMaterial::preset()
{
    setFresnelTable(chromium);
}

void ULineChromeMaterial::preset()
{
    setFresnelTable(chromium);
}

void UBrushedMetalMaterial::preset()
{
    setFresnelTable(aluminium);
}

} // namespace osg
