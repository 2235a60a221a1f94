// The creatable classes of znFramework.dll.
#include "com/server/ServerModule.h"
#include "framework/ZNApplicationContext.h"
#include "framework/ZNBrandingResources.h"
#include "framework/ZNCategory.h"
#include "framework/ZNEventLog.h"
#include "framework/ZNLocale.h"
#include "framework/ZNMobileFolders.h"
#include "framework/ZNPropertySet.h"
#include "framework/ZNRegistry.h"
#include "framework/ZNStartup.h"

namespace {

constexpr com::ClassEntry kClasses[] = {
    com::ClassOf<ZNEventLog>(L"znSystem.ZNEventLog"),
    com::ClassOf<ZNStartup>(L"znSystem.ZNStartup"),
    com::ClassOf<ZNRegistry>(L"znSystem.ZNRegistry"),
    com::ClassOf<ZNPropertySet>(L"znSystem.ZNPropertySet"),
    com::ClassOf<ZNBrandingResources>(L"znFramework.ZNBrandingResources"),
    com::ClassOf<ZNApplicationContext>(L"znFramework.ZNApplicationContext"),
    com::ClassOf<ZNLocale>(L"znFramework.ZNLocale"),
    com::ClassOf<ZNCategory>(L"znFramework.ZNCategory"),
    com::ClassOf<ZNMobileFolders>(L"znFramework.ZNMobileFolders"),
};

}  // namespace

const com::ModuleDescription& com::ThisModule() {
    static constexpr ModuleDescription description{.classes = kClasses, .typeLibraries = 3};
    return description;
}
