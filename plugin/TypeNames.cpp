// The full names of the plug-in's types, each with its terminating zero, in a section of their own: tools read them out
// of the library without loading it. One literal, whose own end is the last zero: separate arrays would be padded and
// reordered. Kept through section collection by attribute, and by the initialiser where the linker ignores that.

// Address-sanitized builds of Clang would pad the section with a red zone.
#ifdef __clang__
#define VARO_UNPADDED [[clang::no_sanitize("address")]]
#else
#define VARO_UNPADDED
#endif

namespace {

[[gnu::section(".zon.type"), gnu::used, gnu::retain]] VARO_UNPADDED constinit char const zonTypeNames[] =
    "VaroIntf::IntfStatusReactor\0"
    "VaroIntf::AllIntfStatusDirSm\0"
    "VaroIntf::AllIntfDir\0"
    "VaroIntf::AllIntfReactor\0"
    "VaroIntf::AllIntfQueueCounterSliceIntfCounterReactor\0"
    "VaroIntf::AllIntfQueueCounterSliceReactor\0"
    "VaroIntf::AllIntfQueueCounterReactor\0"
    "VaroIntf::Agent\0"
    "VaroErrdisable::IntfSM\0"
    "VaroErrdisable::AllIntfSM\0"
    "VaroErrdisable::Root";

static_assert(sizeof zonTypeNames == 321);

[[gnu::constructor]] void keepTypeNames() noexcept { asm volatile("" : : "r"(&zonTypeNames)); }

}  // namespace
