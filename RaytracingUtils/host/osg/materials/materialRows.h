#pragma once

// Material attributes are declared once, as rows. A list of rows expands to the fields of a
// container, to the members of the plain record that the core reads, and to the code that fills the
// one from the other.
//
//     #define ZN_VELVET_ROWS(R)
//         R(COLOR, (diffuse, Diffuse, 0.4f, 0.4f, 0.4f))
//         R(NUMBER, (float, darkening, Darkening, 1.0f, "", 0.0f, 4.0f))
//     ZN_MATERIAL_BLOCK(znRTVelvetBlock, ZN_VELVET_ROWS)
//     class UVelvetMaterial : public UBRDFMaterial
//     {
//         ZN_CONTAINER(UVelvetMaterial, UBRDFMaterial)
//         ZN_VELVET_ROWS(ZN_ROW_FIELD)
//         ZN_MATERIAL_RECORD(UVelvetMaterial, znRTVelvetBlock)
//     };
//
// Kinds of rows and what the record holds:
//   COLOR     name, Name, r, g, b        name (colour times intensity), nameSpectrum (or null)
//   TEXTURE   name, Name, use            nameSampler, nameActive, nameAttributes; the field is
//                                        nameTexture; use is one of znTextureUse
//   NUMBER    type, name, Name, default, unit, least, greatest     brought into its range
//   LENGTH    name, Name, default, unit ("m" or "mm"), least, greatest   in scene units; the getter
//                                        gives scene units too, getStoredName the stored value
//   ANGLE     name, Name, default, least, greatest   field in degrees, record in radians
//   FLAG      name, Name, default
//   CHOICE    name, Name, default, names...          number of the choice
//   SPECTRUM  name, Name                             pointer, or null

#include "host/osg/Spectrum.h"
#include "host/osg/materials/znRTMaterialSlots.h"
#include "host/znRTVector.h"

#include <algorithm>
#include <numbers>
#include <type_traits>

/// Scene units in a metre or a millimetre of stored length.
float znLengthFactor(const char* unit);

/// RGB with intensity, and the spectrum where it is to be used instead.
void znAssignColor(const ColorComponent& component, znRTVector3f& color,
                   const osg::Spectrum*& spectrum);

/// Numbers are clamped (NaN: the least), vectors per component.
template <class T>
T znClampRow(const T& value, double least, double greatest)
{
    if constexpr (std::is_arithmetic_v<T> && !std::is_same_v<T, bool>) {
        if (!(double(value) >= least))
            return T(least);
        return double(value) > greatest ? T(greatest) : value;
    } else
        return value;
}

// Fields of the container.
#define ZN_ROW_FIELD(kind, arguments) ZN_ROW_FIELD_##kind arguments
#define ZN_ROW_FIELD_COLOR(name, Name, r, g, b)                                                    \
    ZN_FIELD(ColorComponent, name, Name, (ColorComponent(r, g, b)), "", 0.0f, 1e6f)
#define ZN_ROW_FIELD_TEXTURE(name, Name, use)                                                      \
    ZN_SLOT(osg::UTextureSettingsPtr, name##Texture, Name##Texture)
#define ZN_ROW_FIELD_NUMBER(type, name, Name, default_, unit, least, greatest)                     \
    ZN_FIELD(type, name, Name, default_, unit, least, greatest)
#define ZN_ROW_FIELD_LENGTH(name, Name, default_, unit, least, greatest)                           \
    ZN_STORED_FIELD(float, name, Name, default_, unit, least, greatest)                            \
    float get##Name() const                                                                        \
    {                                                                                              \
        return getStored##Name() * znLengthFactor(unit);                                           \
    }
#define ZN_ROW_FIELD_ANGLE(name, Name, default_, least, greatest)                                  \
    ZN_FIELD(float, name, Name, default_, "degrees", least, greatest)
#define ZN_ROW_FIELD_FLAG(name, Name, default_) ZN_FLAG(name, Name, default_)
#define ZN_ROW_FIELD_CHOICE(name, Name, default_, ...) ZN_ENUM(name, Name, default_, __VA_ARGS__)
#define ZN_ROW_FIELD_SPECTRUM(name, Name) ZN_SLOT(osg::SpectrumPtr, name, Name)

// Members of the record.
#define ZN_ROW_MEMBER(kind, arguments) ZN_ROW_MEMBER_##kind arguments
#define ZN_ROW_MEMBER_COLOR(name, Name, r, g, b)                                                   \
    znRTVector3f name{r, g, b};                                                                    \
    const osg::Spectrum* name##Spectrum = nullptr;
#define ZN_ROW_MEMBER_TEXTURE(name, Name, use)                                                     \
    znRTTextureSampler* name##Sampler = nullptr;                                                   \
    bool name##Active = false;                                                                     \
    const znRTTextureAttributes* name##Attributes = nullptr;
#define ZN_ROW_MEMBER_NUMBER(type, name, Name, default_, unit, least, greatest) type name{default_};
#define ZN_ROW_MEMBER_LENGTH(name, Name, default_, unit, least, greatest) float name = default_;
#define ZN_ROW_MEMBER_ANGLE(name, Name, default_, least, greatest) float name = 0.0f;
#define ZN_ROW_MEMBER_FLAG(name, Name, default_) bool name = default_;
#define ZN_ROW_MEMBER_CHOICE(name, Name, default_, ...) int name = default_;
#define ZN_ROW_MEMBER_SPECTRUM(name, Name) const osg::Spectrum* name = nullptr;

// From fields to members.
#define ZN_ROW_ASSIGN(kind, arguments) ZN_ROW_ASSIGN_##kind arguments
#define ZN_ROW_ASSIGN_COLOR(name, Name, r, g, b)                                                   \
    znAssignColor(material.get##Name(), name, name##Spectrum);
#define ZN_ROW_ASSIGN_TEXTURE(name, Name, use)                                                     \
    slots.assign(#name, material.get##Name##Texture(), znTextureUse::use, name##Sampler,           \
                 name##Active, name##Attributes);
#define ZN_ROW_ASSIGN_NUMBER(type, name, Name, default_, unit, least, greatest)                    \
    name = znClampRow<type>(material.get##Name(), double(least), double(greatest));
#define ZN_ROW_ASSIGN_LENGTH(name, Name, default_, unit, least, greatest)                          \
    name = znClampRow<float>(material.getStored##Name(), double(least), double(greatest)) *        \
           znLengthFactor(unit);
#define ZN_ROW_ASSIGN_ANGLE(name, Name, default_, least, greatest)                                 \
    name = znClampRow<float>(material.get##Name(), double(least), double(greatest)) *              \
           (std::numbers::pi_v<float> / 180.0f);
#define ZN_ROW_ASSIGN_FLAG(name, Name, default_) name = material.get##Name();
#define ZN_ROW_ASSIGN_CHOICE(name, Name, default_, ...)                                            \
    name = std::clamp(material.get##Name(), 0,                                                     \
                      int(std::size(std::initializer_list<const char*>{__VA_ARGS__})) - 1);
#define ZN_ROW_ASSIGN_SPECTRUM(name, Name) name = material.get##Name().get();

/// A part of a record; M is the container.
#define ZN_MATERIAL_BLOCK(Block, ROWS)                                                             \
    struct Block                                                                                   \
    {                                                                                              \
        ROWS(ZN_ROW_MEMBER)                                                                        \
        template <class M>                                                                         \
        void assignFrom([[maybe_unused]] const M& material,                                        \
                        [[maybe_unused]] znRTMaterialSlots& slots)                                 \
        {                                                                                          \
            ROWS(ZN_ROW_ASSIGN)                                                                    \
        }                                                                                          \
    };

namespace osg {

/// The record of a container: the blocks of its base class, then its own.
template <class... Blocks>
struct MaterialRecord : Blocks...
{
    template <class M>
    void assignFrom(const M& material, znRTMaterialSlots& slots)
    {
        (static_cast<Blocks&>(*this).assignFrom(material, slots), ...);
    }
};

} // namespace osg

/// Record of a container that can be created. Base::BaseRecord holds the blocks of the base class.
#define ZN_MATERIAL_RECORD(Type, ...)                                                              \
    struct RaytracingAttributes : osg::MaterialRecord<typename Inherited::BaseRecord, __VA_ARGS__> \
    {                                                                                              \
    };                                                                                             \
    ZN_MATERIAL_RECORD_COMMON(Type)
/// The same with start values of its own, set by preset().
#define ZN_MATERIAL_RECORD_PRESET(Type, ...)                                                       \
    struct RaytracingAttributes : osg::MaterialRecord<typename Inherited::BaseRecord, __VA_ARGS__> \
    {                                                                                              \
    };                                                                                             \
    ZN_MATERIAL_RECORD_CORE(Type, preset())                                                        \
private:                                                                                           \
    void preset();                                                                                 \
                                                                                                   \
public:
/// The same without blocks of its own.
#define ZN_MATERIAL_RECORD_OF_BASE(Type)                                                           \
    struct RaytracingAttributes : osg::MaterialRecord<typename Inherited::BaseRecord>              \
    {                                                                                              \
    };                                                                                             \
    ZN_MATERIAL_RECORD_COMMON(Type)
#define ZN_MATERIAL_RECORD_COMMON(Type) ZN_MATERIAL_RECORD_CORE(Type, (void)0)
#define ZN_MATERIAL_RECORD_CORE(Type, start)                                                       \
    Type()                                                                                         \
    {                                                                                              \
        start;                                                                                     \
        Type::fillAttributes();                                                                    \
    }                                                                                              \
    RaytracingAttributes& getRaytracingAttributes() override                                       \
    {                                                                                              \
        refreshAttributes();                                                                       \
        return attributes;                                                                         \
    }                                                                                              \
                                                                                                   \
protected:                                                                                         \
    void fillAttributes() override;                                                                \
                                                                                                   \
private:                                                                                           \
    RaytracingAttributes attributes;                                                               \
                                                                                                   \
public:

/// Bodies of a container with a record; in namespace osg of one source file.
#define ZN_MATERIAL_BODY(Type)                                                                     \
    ZN_CONTAINER_BODY(Type)                                                                        \
    void Type::fillAttributes()                                                                    \
    {                                                                                              \
        beginFill();                                                                               \
        attributes.assignFrom(*this, slots);                                                       \
        finishAttributes(*this, attributes, slots);                                                \
    }
