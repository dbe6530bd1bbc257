#pragma once

// The material of fixed-function scenes. Its host material has no record: this one fills its own.

#include "host/osg/materials/UberMaterial.h"
#include "light/usableColor.h"
#include "material/znRTPlainMaterial.h"

class znRTSimpleMaterial : public znRTPlainMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTSimpleMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override { return new znRTSimpleMaterial(hostMaterial); }
    void update() override;

protected:
    znRTSimpleMaterial(const znRTTypeId& typeId, const osg::MaterialPtr& material);

    /// Fills the record from fields that fixed-function materials have in common, and reads it.
    /// @param source  with getDiffuse, getSpecular, getEmission, getShininess, getTransparency
    /// @param image   on the diffuse colour; null without
    template <class Source>
    void updateFromFields(const Source& source, const znRTTextureSampler* image = nullptr);

    znRTCommonAttributes record;

private:
    /// Takes a field over.
    /// @return whether it differs
    template <class Value>
    static bool assign(Value& target, const Value& value);
};

template <class Value>
bool znRTSimpleMaterial::assign(Value& target, const Value& value)
{
    if (target == value)
        return false;
    target = value;
    return true;
}

template <class Source>
void znRTSimpleMaterial::updateFromFields(const Source& source, const znRTTextureSampler* image)
{
    const auto vectorOf = [](const osg::Vec3f& v) {
        const znRTColor color = usableColor(v[0], v[1], v[2]);
        return znRTVector3f(color.r, color.g, color.b);
    };
    const float passed = znClampRow(source.getTransparency(), 0.0, 1.0);
    const znRTVector3f emission = vectorOf(source.getEmission());
    bool changed = assign(record.analyticDiffuse, vectorOf(source.getDiffuse()));
    changed |= assign(record.analyticSpecular, vectorOf(source.getSpecular()));
    changed |= assign(record.analyticEmission, emission);
    changed |= assign(record.analyticShininess, znClampRow(source.getShininess(), 1e-3, 1e6));
    changed |= assign(record.analyticTransparency, passed);
    record.transparencyColor = {passed, passed, passed};
    record.incandescenceActive = !(emission == znRTVector3f());
    record.incandescenceUnitA = emission.x;
    record.incandescenceUnitB = emission.y;
    record.incandescenceUnitC = emission.z;
    record.settingsDirty |= changed;
    updateFrom(record, image);
}
