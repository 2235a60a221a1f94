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
#include "sendrecv/clsHTTPSndRcv.h"
#include "sendrecv/clsXCOPYSndRcv.h"
#include "transport/clsTransporter.h"

namespace {
#include "znTransporter_classes.inc"
}  // namespace

const com::ModuleDescription& com::ThisModule() {
    static constexpr ModuleDescription description{.classes = kClasses,
                                                   .typeLibraries = kTypeLibraries,
                                                   .start = &Main,
                                                   .releaseApartment = &ReleaseThisApartment};
    return description;
}
