// The creatable classes of znTransporter.dll.
#include "cipher/clsRijndael.h"
#include "cmdline/clsCmdLine.h"
#include "com/server/ServerModule.h"
#include "common/Apartment.h"
#include "common/modMain.h"
#include "encoders/clsXDeltaEncoder.h"
#include "encoders/clsZipEncoder.h"
#include "mobile/clsTranMobileConfig.h"
#include "sendrecv/clsFTPFile.h"
#include "sendrecv/clsFTPSndRcv.h"
#include "sendrecv/clsXCOPYSndRcv.h"
#include "transport/clsTransporter.h"

namespace {

constexpr com::ClassEntry kClasses[] = {
    com::ClassOf<clsTransporter>(L"znTransporter.clsTransporter"),
    com::ClassOf<clsZipEncoder>(L"znTransporter.clsZipEncoder"),
    com::ClassOf<clsXDeltaEncoder>(L"znTransporter.clsXDeltaEncoder"),
    com::ClassOf<clsXCOPYSndRcv>(L"znTransporter.clsXCOPYSndRcv"),
    com::ClassOf<clsTranMobileConfig>(L"znTransporter.clsTranMobileConfig"),
    com::ClassOf<clsFTPSndRcv>(L"znTransporter.clsFTPSndRcv"),
    com::ClassOf<clsFTPFile>(L"znTransporter.clsFTPFile"),
    com::ClassOf<clsCmdLine>(L"znTransporter.clsCmdLine"),
    com::ClassOf<clsRijndael>(L"znTransporter.clsRijndael"),
};

}  // namespace

const com::ModuleDescription& com::ThisModule() {
    static constexpr ModuleDescription description{
        .classes = kClasses, .typeLibraries = 1, .start = &Main, .releaseApartment = &ReleaseThisApartment};
    return description;
}
