// Texts of the product's string table.
#pragma once

#include <windows.h>

#include <string>

/// Text of a resource. Throws when the table does not hold the number.
std::wstring ResourceText(LONG id);
