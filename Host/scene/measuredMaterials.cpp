#include "host/osg/Materials.h"
#include "scene/finishAttributes.h"

namespace osg {

ZN_MATERIAL_BODY(UMeasuredMaterial)
ZN_MATERIAL_BODY(UMeasuredCarpaintMaterial)
ZN_MATERIAL_BODY(UMeasuredCarpaint2Material)
ZN_MATERIAL_BODY(UOCSMaterial)
ZN_MATERIAL_BODY(USVBRDFMaterial)
ZN_MATERIAL_BODY(USubstanceMaterial)
ZN_MATERIAL_BODY(UXRiteMeasuredMaterial)

} // namespace osg
