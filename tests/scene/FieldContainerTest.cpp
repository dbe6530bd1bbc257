#include "host/osg/FieldContainer.h"

#include "host/osg/Image.h"
#include "host/osg/Node.h"
#include "host/osg/RaytracingGeoAttachment.h"

#include <cmath>
#include <gtest/gtest.h>
#include <set>
#include <thread>

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

/// Records changes of this thread for the length of a test.
class FieldContainerTest : public testing::Test
{
protected:
    FieldContainerTest() { before = ChangeList::setCurrent(&list); }
    ~FieldContainerTest() override { ChangeList::setCurrent(before); }

    ChangeList list;
    ChangeList* before;
};

TEST_F(FieldContainerTest, GivesEachFieldItsOwnMaskBitAfterThoseOfTheBase)
{
    EXPECT_EQ(SampleBase::ActiveFieldMask, 1u);
    EXPECT_EQ(SampleBase::LineWidthFieldMask, 2u);
    EXPECT_EQ(SampleMany::ModeFieldMask, 4u);
    EXPECT_EQ(SampleMany::DistanceFieldMask, 1u << 9);
    EXPECT_EQ(SampleMany::getClassType().getFields().size(), 10u);
}

TEST_F(FieldContainerTest, FoldsFieldsBeyondTheLastBitOntoIt)
{
    EXPECT_EQ(fieldMask(62), u64(1) << 62);
    EXPECT_EQ(fieldMask(63), u64(1) << 63);
    EXPECT_EQ(fieldMask(64), u64(1) << 63);
    EXPECT_EQ(fieldMask(200), u64(1) << 63);
}

TEST_F(FieldContainerTest, StartsWithDeclaredDefaults)
{
    const Ref<SampleMany> sample = SampleMany::create();
    EXPECT_TRUE(sample->getActive());
    EXPECT_EQ(sample->getLineWidth(), 0.001f);
    EXPECT_EQ(sample->getMode(), 1);
    EXPECT_EQ(sample->getDirection(), Vec3f(0, 0, 1));
    EXPECT_FALSE(sample->getNext());
    EXPECT_FALSE(sample->getFriendly());
    EXPECT_FLOAT_EQ(sample->getDistance(), 0.002f);
    const FieldDescription* field = SampleMany::getClassType().findField("lineWidth");
    ASSERT_TRUE(field);
    EXPECT_STREQ(field->unit, "u");
    EXPECT_EQ(field->maximum, 1e6);
    EXPECT_EQ(field->kind, FieldKind::real);
    EXPECT_EQ(std::get<float>(field->defaultValue), 0.001f);
    EXPECT_STREQ(SampleMany::getClassType().findField("mode")->choices.at(2), "third");
}

TEST_F(FieldContainerTest, RecordsCreationChangesAndDestructionInOrder)
{
    u32 id = 0;
    {
        const Ref<SampleMany> sample = SampleMany::create();
        id = sample->getId();
        sample->setLineWidth(2.0f);
        sample->setMode(2);
    }
    EXPECT_EQ(list.getCreated(), std::vector<u32>{id});
    EXPECT_EQ(list.getDestroyed(), std::vector<u32>{id});
    ASSERT_EQ(list.getChanged().size(), 1u);
    EXPECT_EQ(list.getChanged()[0].id, id);
    EXPECT_EQ(list.getChanged()[0].mask,
              SampleMany::LineWidthFieldMask | SampleMany::ModeFieldMask);
    list.clear();
    EXPECT_TRUE(list.empty());
}

TEST_F(FieldContainerTest, IgnoresASetterThatChangesNothing)
{
    const Ref<SampleMany> sample = SampleMany::create();
    sample->setLineWidth(0.001f);
    sample->setDirection(Vec3f(0, 0, 1));
    EXPECT_TRUE(list.getChanged().empty());
}

TEST_F(FieldContainerTest, MakesOneRecordOfNestedEdits)
{
    const Ref<SampleMany> sample = SampleMany::create(), other = SampleMany::create();
    {
        const EditScope outer(sample.get());
        sample->setLineWidth(3.0f);
        other->setMode(0);
        const EditScope inner(sample.get(), SampleMany::NameFieldMask);
        sample->setActive(false);
        EXPECT_EQ(sample->lastChange, 0u);
    }
    ASSERT_EQ(list.getChanged().size(), 2u);
    EXPECT_EQ(list.getChanged()[0].id, other->getId());
    EXPECT_EQ(list.getChanged()[1].id, sample->getId());
    const u64 mask =
        SampleMany::LineWidthFieldMask | SampleMany::ActiveFieldMask | SampleMany::NameFieldMask;
    EXPECT_EQ(list.getChanged()[1].mask, mask);
    EXPECT_EQ(sample->lastChange, mask);
}

TEST_F(FieldContainerTest, ResolvesIdsUntilTheContainerDies)
{
    auto* const factory = FieldContainerFactory::the();
    u32 firstId, secondId;
    {
        const Ref<SampleMany> first = SampleMany::create();
        firstId = first->getId();
        EXPECT_GE(firstId, 1u);
        EXPECT_EQ(factory->getContainer(firstId), first.get());
    }
    EXPECT_FALSE(factory->getContainer(firstId));
    EXPECT_FALSE(factory->getContainer(0));
    const Ref<SampleMany> second = SampleMany::create();
    secondId = second->getId();
    EXPECT_GT(secondId, firstId);
}

TEST_F(FieldContainerTest, OwnsTargetsOfHandlesButNotOfLinks)
{
    const Ref<SampleMany> owner = SampleMany::create();
    const auto owned = SampleMany::create(), linked = SampleMany::create();
    linked->addRef();
    owner->setNext(owned);
    owner->setFriendly(linked);
    EXPECT_EQ(owned->getRefCount(), 1u);
    EXPECT_EQ(linked->getRefCount(), 1u);
    EXPECT_EQ(owner->getFriendly(), linked);
    linked->subRef();
    EXPECT_FALSE(owner->getFriendly());
    const u32 ownedId = owned->getId();
    owner->setNext({});
    EXPECT_FALSE(FieldContainerFactory::the()->getContainer(ownedId));
}

TEST_F(FieldContainerTest, CastsDownOnlyToTypesInItsAncestry)
{
    const Ref<SampleMany> sample = SampleMany::create();
    const FCPtr<AttachmentContainerPtr, SampleBase> base = sample.get();
    EXPECT_EQ(SampleMany::Ptr::dcast(base), sample.get());
    EXPECT_TRUE(isKindOf<FieldContainer>(base));
    EXPECT_FALSE(isKindOf<Image>(base));
    EXPECT_FALSE(Image::Ptr::dcast(nullptr));
    EXPECT_TRUE(sample->getType().isDerivedFrom(SampleBase::getClassType()));
    EXPECT_FALSE(SampleBase::getClassType().isDerivedFrom(SampleMany::getClassType()));
    // Both spellings of a handle are one type, so lists of them fit together.
    EXPECT_TRUE((std::is_same_v<FCPtr<Image>, FCPtr<AttachmentContainerPtr, Image>>));
}

TEST_F(FieldContainerTest, DestroysALongChainOfOwnersWithoutRecursion)
{
    const std::size_t before = FieldContainerFactory::the()->getContainerCount();
    {
        Ref<SampleMany> head = SampleMany::create();
        for (int i = 0; i < 300000; ++i) {
            const Ref<SampleMany> next = SampleMany::create();
            next->setNext(head);
            head = next;
        }
    }
    EXPECT_EQ(FieldContainerFactory::the()->getContainerCount(), before);
}

TEST_F(FieldContainerTest, CreatesByNameAndRefusesUnknownAndAbstractTypes)
{
    auto* const factory = FieldContainerFactory::the();
    const Ref<FieldContainer> sample = factory->createContainer("SampleMany");
    ASSERT_TRUE(sample);
    EXPECT_STREQ(sample->getType().getName(), "SampleMany");
    EXPECT_EQ(factory->findType("osg::Node"), &Node::getClassType());
    EXPECT_FALSE(factory->createContainer("SampleBase"));
    EXPECT_FALSE(factory->createContainer("NoSuchType"));
}

TEST_F(FieldContainerTest, RefusesValuesOfWrongKindRangeOrTarget)
{
    const Ref<SampleMany> sample = SampleMany::create();
    const Ref<Image> image = Image::create();
    const auto set = [&](const char* name, FieldVariant value) {
        return SampleMany::getClassType().findField(name)->set(*sample, std::move(value));
    };
    EXPECT_EQ(set("lineWidth", std::string("wide")), FieldError::wrongKind);
    EXPECT_EQ(set("lineWidth", -1.0f), FieldError::outOfRange);
    EXPECT_EQ(set("lineWidth", std::numeric_limits<double>::quiet_NaN()), FieldError::notFinite);
    EXPECT_EQ(set("lineWidth", 2), FieldError::none);
    EXPECT_EQ(sample->getLineWidth(), 2.0f);
    EXPECT_EQ(set("mode", 3), FieldError::outOfRange);
    EXPECT_EQ(set("mode", 1.5), FieldError::wrongKind);
    EXPECT_EQ(set("mode", 1e300), FieldError::wrongKind);
    EXPECT_EQ(set("active", 2), FieldError::wrongKind);
    EXPECT_EQ(set("direction", std::vector<float>{0, 1}), FieldError::wrongKind);
    EXPECT_EQ(set("direction", std::vector<float>{0, 1, 0}), FieldError::none);
    EXPECT_EQ(sample->getDirection(), Vec3f(0, 1, 0));
    EXPECT_EQ(set("tint", std::vector<float>{0.25f, 0.5f, 1}), FieldError::none);
    EXPECT_EQ(sample->getTint().color, Vec3f(0.25f, 0.5f, 1));
    EXPECT_EQ(set("next", FieldContainerPtr(image.get())), FieldError::wrongContainer);
    EXPECT_EQ(set("next", FieldContainerPtr()), FieldError::none);
    EXPECT_EQ(set("children", std::vector<FieldContainerPtr>{image.get()}),
              FieldError::wrongContainer);
}

TEST_F(FieldContainerTest, IsCreatedAndFoundFromManyThreadsAtOnce)
{
    std::vector<std::thread> threads;
    std::atomic<int> wrong{0};
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&wrong] {
            for (int i = 0; i < 5000; ++i) {
                const Ref<SampleMany> sample = SampleMany::create();
                if (FieldContainerFactory::the()->getContainer(sample->getId()) != sample.get())
                    ++wrong;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

/// A value of the field's kind that differs from the given one and lies in the field's range.
FieldVariant otherValue(const FieldDescription& field, const FieldVariant& value)
{
    const double low = std::isfinite(field.minimum) ? field.minimum : -3.0;
    const double high = std::isfinite(field.maximum) ? field.maximum : 3.0;
    const auto pick = [&](double old) {
        const double middle = 0.5 * (low + high);
        return old == high || (old >= middle && old != low) ? low : high;
    };
    const auto vector = [&](auto v, int n) {
        for (int i = 0; i < n; ++i)
            v[i] = float(pick(v[i]));
        return v;
    };
    switch (field.kind) {
    case FieldKind::boolean:
        return !std::get<bool>(value);
    case FieldKind::integer:
        return int(pick(std::get<int>(value)));
    case FieldKind::unsignedInteger:
        return u32(pick(std::get<u32>(value)));
    case FieldKind::unsignedLong:
        return std::get<u64>(value) + 1;
    case FieldKind::real:
        return float(pick(std::get<float>(value)));
    case FieldKind::doubleReal:
        return pick(std::get<double>(value));
    case FieldKind::string:
        return std::get<std::string>(value) + "text";
    case FieldKind::vector2:
        return vector(std::get<Vec2f>(value), 2);
    case FieldKind::vector3:
        return vector(std::get<Vec3f>(value), 3);
    case FieldKind::vector4:
        return vector(std::get<Vec4f>(value), 4);
    case FieldKind::matrix: {
        Matrix m = std::get<Matrix>(value);
        m[3][0] += 1.5f;
        return m;
    }
    case FieldKind::color: {
        ColorComponent c = std::get<ColorComponent>(value);
        c.color = vector(c.color, 3);
        c.intensity += 0.5f;
        return c;
    }
    case FieldKind::realList:
        // Sixteen numbers, so that lists read as fixed arrays keep a length of their own.
        return std::vector<float>(
            std::max<std::size_t>(std::get<std::vector<float>>(value).size(), 1), float(high));
    case FieldKind::integerList:
        return std::vector<u32>{1, 2, 4};
    case FieldKind::bytes:
        return std::vector<u8>(48, 7);
    default:
        return value;
    }
}

/// A container that the field may hold; null when every such type is abstract.
Ref<FieldContainer> targetFor(const FieldDescription& field)
{
    for (const FieldContainerType* type : FieldContainerFactory::the()->getTypes())
        if (!type->isAbstract() && type->isDerivedFrom(*field.targetType()))
            return type->createContainer();
    return {};
}

bool sameValue(const FieldVariant& a, const FieldVariant& b)
{
    return a == b;
}

TEST_F(FieldContainerTest, CarriesEveryFieldOfEveryTypeThroughReflection)
{
    int checked = 0;
    for (const FieldContainerType* type : FieldContainerFactory::the()->getTypes()) {
        if (type->isAbstract())
            continue;
        for (const FieldDescription& field : type->getFields()) {
            const std::string label = std::string(type->getName()) + "." + field.name;
            const Ref<FieldContainer> container = type->createContainer();
            FieldVariant next = field.get(*container);
            ASSERT_EQ(next.index(), std::size_t(field.kind)) << label;
            Ref<FieldContainer> target;
            if (field.kind == FieldKind::container || field.kind == FieldKind::containerList) {
                target = targetFor(field);
                if (!target)
                    continue;
                if (field.kind == FieldKind::container)
                    next = target.get();
                else
                    next = std::vector<FieldContainerPtr>{target.get()};
            } else {
                next = otherValue(field, next);
            }
            ASSERT_FALSE(sameValue(next, field.get(*container))) << label;
            list.clear();
            EXPECT_EQ(field.set(*container, next), FieldError::none) << label;
            EXPECT_TRUE(sameValue(field.get(*container), next)) << label;
            u64 recorded = 0;
            for (const ChangeList::Change& change : list.getChanged())
                if (change.id == container->getId())
                    recorded |= change.mask;
            EXPECT_TRUE(recorded & field.mask) << label;
            ++checked;
        }
    }
    EXPECT_GT(checked, 200);
}

TEST_F(FieldContainerTest, DeclaresDefaultsInsideTheirRangesAndNamesOnce)
{
    for (const FieldContainerType* type : FieldContainerFactory::the()->getTypes()) {
        std::set<std::string> names;
        for (const FieldDescription& field : type->getFields()) {
            const std::string label = std::string(type->getName()) + "." + field.name;
            EXPECT_TRUE(names.insert(field.name).second) << label;
            EXPECT_EQ(field.mask, fieldMask(field.index)) << label;
            if (type->isAbstract())
                continue;
            const Ref<FieldContainer> container = type->createContainer();
            EXPECT_EQ(field.set(*container, field.defaultValue), FieldError::none) << label;
        }
    }
}

TEST_F(FieldContainerTest, HoldsOneAttachmentOfATypeAndFindsItByType)
{
    const Ref<Node> node = Node::create();
    EXPECT_FALSE(RaytracingGeoAttachment::getAttachment(node.get()));
    const auto first = RaytracingGeoAttachment::create(),
               second = RaytracingGeoAttachment::create();
    const u32 firstId = first->getId();
    node->addAttachment(first);
    setName(node.get(), "door");
    node->addAttachment(second);
    EXPECT_EQ(RaytracingGeoAttachment::getAttachment(node.get()), second);
    EXPECT_FALSE(FieldContainerFactory::the()->getContainer(firstId));
    EXPECT_EQ(getName(node.get()), "door");
    setName(node.get(), "window");
    EXPECT_EQ(getName(node.get()), "window");
    node->subAttachment(second);
    EXPECT_FALSE(RaytracingGeoAttachment::getAttachment(node.get()));
    EXPECT_EQ(getName(nullptr), "");
}

} // namespace
