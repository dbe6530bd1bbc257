#pragma once

// The material of fixed-function scenes. Its host material has no record: this one fills its own.

#include "host/osg/materials/UberMaterial.h"
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
    template <class Source>
    void updateFromFields(const Source& source);

private:
    /// Takes a field over.
    /// @return whether it differs
    template <class Value>
    bool assign(Value& target, const Value& value);

    znRTCommonAttributes record;
};

/// The same from the first MaterialChunk of a list of chunks; its defaults without one.
class znRTChunkMaterial : public znRTSimpleMaterial
{
public:
    static const znRTTypeId id;

    explicit znRTChunkMaterial(const osg::MaterialPtr& material);

    znRTMaterial* getDuplicate() const override { return new znRTChunkMaterial(hostMaterial); }
    void update() override;
};
