// What paths lead to: drives, junctions and short names give one folder many paths.
#pragma once

#include <string>
#include <vector>

/// Text that is the same for all paths to one file or folder, also to one that is still to be made in the
/// same folder. Empty where the system does not tell.
std::wstring PlaceOf(const std::wstring& path);
/// False also where the system does not tell.
bool AreOnePlace(const std::wstring& one, const std::wstring& other);
/// That of a path, and of every folder that it lies in, as far as the system tells.
std::vector<std::wstring> PlacesOf(const std::wstring& path);
