#include "host/osg/FieldContainer.h"

#include <gtest/gtest.h>

namespace osg {

class SampleBase : public FieldContainer
{
    ZN_ABSTRACT_CONTAINER(SampleBase, FieldContainer)
    ZN_FLAG(active, Active, true)
    ZN_FIELD(float, lineWidth, LineWidth, 0.001f, "u", 0.0f, 1e6f)
};

class SampleMany : public SampleBase
{
    ZN_CONTAINER(SampleMany, SampleBase)
    ZN_ENUM(mode, Mode, 1, "first", "second", "third")
    ZN_SLOT(std::string, name, Name)
    ZN_FIELD(Vec3f, direction, Direction, Vec3f(0, 0, 1), "", -1.0f, 1.0f)
    ZN_SLOT(FCPtr<SampleMany>, next, Next)
    ZN_SLOT(std::vector<FCPtr<SampleBase>>, children, Children)
    ZN_LINK(SampleMany, friendly, Friendly)
    ZN_FIELD(ColorComponent, tint, Tint, ColorComponent(0.5f), "", 0.0f, 1e6f)
    ZN_STORED_FIELD(float, distance, Distance, 2.0f, "mm", 0.0f, 1e6f)
    float getDistance() const { return 0.001f * getStoredDistance(); }

    u64 lastChange = 0;

protected:
    void changed(u64 mask) override
    {
        Inherited::changed(mask);
        lastChange = mask;
    }
};

ZN_ABSTRACT_CONTAINER_BODY(SampleBase)
ZN_CONTAINER_BODY(SampleMany)

} // namespace osg

using namespace osg;

namespace {

TEST(FieldContainer, GivesEachFieldItsOwnMaskBitAfterThoseOfTheBase)
{
    EXPECT_EQ(SampleBase::ActiveFieldMask, 1u);
    EXPECT_EQ(SampleBase::LineWidthFieldMask, 2u);
    EXPECT_EQ(SampleMany::ModeFieldMask, 4u);
    EXPECT_EQ(SampleMany::DistanceFieldMask, 1u << 9);
    EXPECT_EQ(SampleMany::getClassType().getFields().size(), 10u);
}

} // namespace
