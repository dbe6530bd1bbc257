#include "material/znRTSimpleMaterial.h"

#include "host/osg/materials/compositeMaterials.h"
#include "render/notAvailable.h"

const znRTTypeId znRTSimpleMaterial::id("znRTSimpleMaterial");
const znRTTypeId znRTChunkMaterial::id("znRTChunkMaterial");

namespace {

znRTVector3f vectorOf(const osg::Vec3f& v)
{
    return {v[0], v[1], v[2]};
}

bool isEqual(const znRTVector3f& a, const znRTVector3f& b)
{
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

bool isEqual(float a, float b)
{
    return a == b;
}

} // namespace

znRTSimpleMaterial::znRTSimpleMaterial(const osg::MaterialPtr& material)
    : znRTSimpleMaterial(id, material)
{
    znRTSimpleMaterial::update();
}

znRTSimpleMaterial::znRTSimpleMaterial(const znRTTypeId& typeId, const osg::MaterialPtr& material)
    : znRTPlainMaterial(typeId, material)
{
}

void znRTSimpleMaterial::update()
{
    if (const auto host = osg::FCPtr<osg::SimpleMaterial>::dcast(hostMaterial))
        updateFromFields(*host);
}

template <class Value>
bool znRTSimpleMaterial::assign(Value& target, const Value& value)
{
    if (isEqual(target, value))
        return false;
    target = value;
    return true;
}

template <class Source>
void znRTSimpleMaterial::updateFromFields(const Source& source)
{
    const float passed = source.getTransparency();
    const znRTVector3f emission = vectorOf(source.getEmission());
    bool changed = assign(record.analyticDiffuse, vectorOf(source.getDiffuse()));
    changed |= assign(record.analyticSpecular, vectorOf(source.getSpecular()));
    changed |= assign(record.analyticEmission, emission);
    changed |= assign(record.analyticShininess, source.getShininess());
    changed |= assign(record.analyticTransparency, passed);
    record.transparencyColor = {passed, passed, passed};
    record.incandescenceActive = !isEqual(emission, {});
    record.incandescenceUnitA = emission.x;
    record.incandescenceUnitB = emission.y;
    record.incandescenceUnitC = emission.z;
    record.settingsDirty |= changed;
    updateFrom(record);
}

znRTChunkMaterial::znRTChunkMaterial(const osg::MaterialPtr& material)
    : znRTSimpleMaterial(id, material)
{
    znRTChunkMaterial::update();
}

void znRTChunkMaterial::update()
{
    static znRTOnceWarning notRead("Texture chunks are not read yet: surfaces show their colours.");
    const auto host = osg::FCPtr<osg::ChunkMaterial>::dcast(hostMaterial);
    if (!host)
        return;
    if (host->find<osg::TextureChunk>())
        notRead();
    auto chunk = host->find<osg::MaterialChunk>();
    if (!chunk)
        chunk = osg::MaterialChunk::create();
    updateFromFields(*chunk);
}
