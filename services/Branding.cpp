// See Branding.h.
#include "services/Branding.h"

#include "com/Object.h"
#include "com/Result.h"
#include "common/Framework.h"
#include "common/modMain.h"
#include "common/modZNStartup.h"
#include "script/Collections.h"

std::wstring BrandedText(LONG Number) {
    return com::Get<std::wstring>(&IZNBrandingResources::Text, ZNBrandingResObject(),
                                  com::Variant(Number).Get());
}

std::wstring StartupEntry(LONG Number) {
    Main();
    return StartupServiceEntry(Number).Text();
}

com::Variant CategoryCollection(ZNCategoryCode code) {
    const auto category = CreateFrameworkObject<ZNCategory, IZNCategory>();
    const auto categories = com::Make<script::Collection>();
    categories->Add(com::Variant(
        com::Get<std::wstring>(&IZNCategory::CategoryId, category.Get(), static_cast<LONG>(code))));
    return com::Variant::Object(static_cast<_Collection*>(categories.Get()));
}
