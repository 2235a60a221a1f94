// The creatable classes of znFramework.dll.
#include <string_view>

#include "com/server/ServerModule.h"
#include "framework/HostSettings.h"
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
#include "znFramework_classes.inc"

// Hosts that name themselves otherwise register their own event sources.
static_assert(std::wstring_view(kEventSources[0]) == HostSettings::kDefaultTitle);
}  // namespace

const com::ModuleDescription& com::ThisModule() {
    static constexpr ModuleDescription description{
        .classes = kClasses, .typeLibraries = kTypeLibraries, .eventSources = kEventSources};
    return description;
}
