// Test programs and benchmarks serve no classes of their own.
#include "com/Module.h"

const com::ModuleDescription& com::ThisModule() {
    static constexpr ModuleDescription none{.classes = {}, .typeLibraries = 0};
    return none;
}
