// Texts and categories of the product, from the framework's branding resources, start-up service and
// categories.
#pragma once

#include <windows.h>

#include <string>

#include "com/Values.h"
#include "znFramework.h"

/// Text of a branding resource. Throws a failure.
std::wstring BrandedText(LONG Number);

/// A value of the start-up service as text. Throws a failure.
std::wstring StartupEntry(LONG Number);

/// A VARIANT that holds a collection with the identifier of one component category. Throws a failure.
com::Variant CategoryCollection(ZNCategoryCode code);
