// Libraries that are right or wrong in one way each, chosen by definitions.

#include "settings/SilentInstance.h"

#include <cstdlib>

#define ZN_TEST_EXPORT extern "C" __attribute__((visibility("default")))

#ifdef ZN_TEST_ABI
ZN_TEST_EXPORT const u32 znRaytracingUtilsAbi;
const u32 znRaytracingUtilsAbi = ZN_TEST_ABI;
#endif

#ifdef ZN_TEST_RESULT
namespace {

class CountingInstance : public SilentInstance
{
public:
    u64 getRayCount() override { return 4711; }
};

} // namespace

ZN_TEST_EXPORT znRaytracingUtilsBase* CreateRaytracingInstance();
znRaytracingUtilsBase* CreateRaytracingInstance()
{
    setenv("ZN_TEST_MODULE_WAS_CALLED", "1", 1);
    return ZN_TEST_RESULT;
}
#endif
