// What the transfer of packets stands on, tried on a real WebDAV server: which promise it keeps, and what to
// change where it does not.
#pragma once

#include <functional>
#include <string>

#include "http/HttpSite.h"
#include "services/HostProgress.h"

/// Where the packets of an installation travel. Remote folders are paths below the site's.
struct DavWay {
    std::wstring send;
    std::wstring receive;
    std::wstring localSend;
    std::wstring localReceive;
};

/// What became of a promise.
struct DavFinding {
    enum class Outcome { Kept, Noted, Broken };

    Outcome outcome = Outcome::Kept;
    std::wstring what = {};
    std::wstring advice = {};  ///< what to change; empty where nothing is
};

/// Plays with files of its own, in a folder among the uploads and in one among the claims. Elsewhere an empty
/// folder comes and goes, which nobody takes for a packet. Folders of the settings that are missing are
/// created, and stay.
class DavPromises {
public:
    /// Gets the name of a promise, and what became of it.
    using Tell = std::function<void(const std::wstring&, const DavFinding&)>;

    DavPromises(HttpSite site, DavWay way, const HostProgress& progress)
        : m_site(std::move(site)), m_way(std::move(way)), m_progress(progress) {}

    /// Tells of each promise once it was tried. False when one is broken; those that stand on it are not
    /// tried then. Throws an HttpError when somebody wants an end. What the play made is removed in any case.
    bool AreKept(const Tell& tell) const;

private:
    class Play;

    const HttpSite m_site;
    const DavWay m_way;
    const HostProgress& m_progress;
};
