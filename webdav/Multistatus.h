// What a WebDAV server tells of a folder (RFC 4918).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/FileTime.h"
#include "http/HttpRequest.h"

/// What lies in a remote folder.
struct DavEntry {
    std::wstring name;
    bool isFolder = false;
    std::optional<std::uint64_t> size = {};       ///< bytes
    std::optional<base::FileTime> modified = {};  ///< by the server's clock, in seconds
};

/// The properties that ReadMultistatus understands, as the body of a request asks for them.
inline constexpr std::string_view kDavProperties =
    R"(<?xml version="1.0" encoding="utf-8"?><D:propfind xmlns:D="DAV:"><D:prop>)"
    R"(<D:resourcetype/><D:getcontentlength/><D:getlastmodified/></D:prop></D:propfind>)";

/// Reads the list of a folder of that name from an answer, as it comes. What has no name that can be read has
/// an empty one. Throws for what is no such list, or one without end.
std::vector<DavEntry> ReadMultistatus(HttpRequest& answer, const std::wstring& folderName);
