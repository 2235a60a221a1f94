// See DavPromises.h.
#include "webdav/DavPromises.h"

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "base/Error.h"
#include "base/RollBack.h"
#include "base/WindowsTime.h"
#include "com/MessagePump.h"
#include "http/HttpConnection.h"
#include "http/HttpError.h"
#include "http/UrlPath.h"
#include "webdav/DavInstallation.h"
#include "webdav/DavServer.h"
#include "webdav/DavTransfer.h"

namespace {

using Outcome = DavFinding::Outcome;
using Other = DavServer::Other;

DavFinding Kept(std::wstring what) { return {Outcome::Kept, std::move(what)}; }
DavFinding Noted(std::wstring what, std::wstring advice = {}) {
    return {Outcome::Noted, std::move(what), std::move(advice)};
}
DavFinding Broken(std::wstring what, std::wstring advice = {}) {
    return {Outcome::Broken, std::move(what), std::move(advice)};
}

/// A file of the play.
struct Sample {
    std::wstring name;
    std::string content;
};

/// Names that servers, and what stands before them, have taken for other ones.
std::vector<Sample> AwkwardNames() {
    std::vector<Sample> samples;
    for (const wchar_t* name : {L"Gr\u00FC\u00DFe 50% & more #1;+=@.xml", L"\u65E5\u672C \U0001F4E6.mdb",
                                L"a%20b%41+c.mdb", L"-a[1]{2}~!.mdb"})
        samples.push_back({name, "znTransporter"});
    samples.push_back({std::wstring(180, L'n') + L".mdb", "znTransporter"});
    return samples;
}

/// Contents that somebody on the way may want to change: text that shrinks, ends of lines, and nothing at
/// all.
std::vector<Sample> AwkwardContents() {
    std::string lines;
    std::string bytes;
    for (int i = 0; i < 5000; ++i) {
        lines += "<packet>\r\n\n\r";
        bytes += {static_cast<char>(i), '\0', '\x1A', '\xFF', '\r', '\n'};
    }
    return {{L"empty.mdb", ""},
            {L"lines.txt", lines},
            {L"lines.xml", lines},
            {L"lines.html", lines},
            {L"bytes.mdb", bytes}};
}

/// Long enough to be on its way for a moment.
std::string Version(char letter) { return std::string(200'000, letter); }

constexpr auto kWebDavAdvice =
    L"Switch WebDAV on there, with all of its methods. Apache: Dav On. nginx: the module dav-ext, "
    L"dav_methods "
    L"PUT DELETE MKCOL MOVE, dav_ext_methods PROPFIND OPTIONS. lighttpd: webdav.activate.";
constexpr auto kRightsAdvice = L"Give the user the right to create, read, move and delete there, and the "
                               L"server's own account the same on "
                               L"the disk.";
constexpr auto kNamesAdvice =
    L"Let nothing on the way decode or rewrite paths, and keep the packets in a file system that takes all "
    L"names; or rename such packets.";
constexpr auto kContentAdvice =
    L"Switch compression and all other changes of contents off for these folders, on the server and on what "
    L"stands before it.";
constexpr auto kDestinationAdvice =
    L"Where a proxy ends the encryption, let the header Destination be rewritten. Apache, before or behind: "
    L"RequestHeader edit Destination ^https: http: early. nginx as the proxy: proxy_set_header Destination, "
    L"with a variable that holds $http_destination with http in the place of https. Where it hands on "
    L"another name, let it hand on the header Host as it comes. Apache: ProxyPreserveHost On. nginx: "
    L"proxy_set_header Host $http_host.";
constexpr auto kServerAdvice = L"Packets are not safe with this server. Use another one, or a newer version.";

}  // namespace

/// One call of AreKept.
class DavPromises::Play {
public:
    explicit Play(const DavPromises& promises)
        : m_progress(promises.m_progress),
          m_site(promises.m_site),
          m_send(promises.m_way.send),
          m_receive(promises.m_way.receive),
          m_sender(promises.m_way.localSend),
          m_receiver(promises.m_way.localReceive),
          m_name(std::wstring(kTestPrefix) + m_sender.Name()),
          m_folder(JoinRemote(UploadsOf(m_send), m_name)),
          m_claims(ClaimsOf(m_receive, std::wstring(kTestPrefix) + m_receiver.Name())) {}

    bool Run(const Tell& tell) {
        const base::RollBack clean([this] {
            if (m_hasMade) Sweep();
        });
        m_progress.SetRange(0, static_cast<LONG>(Promises().size()));
        bool areKept = true;
        LONG position = 0;
        for (const Promise& promise : Promises()) {
            const DavFinding finding = Try(promise);
            tell(promise.name, finding);
            m_progress.Position(++position);
            if (finding.outcome != Outcome::Broken) continue;
            areKept = false;
            if (promise.carriesOthers) break;
        }
        return areKept;
    }

private:
    struct Promise {
        const wchar_t* name;
        DavFinding (Play::*play)();
        const wchar_t* advice;  ///< where the server's own words do not tell enough; may be empty
        bool carriesOthers = false;
    };
    static std::span<const Promise> Promises();

    DavFinding Try(const Promise& promise) try {
        DavFinding finding = (this->*promise.play)();
        if (finding.outcome == Outcome::Broken && finding.advice.empty()) finding.advice = promise.advice;
        return finding;
    } catch (const HttpError& error) {
        if (error.IsCancelled()) throw;
        return Broken(error.failure().description, promise.advice);
    } catch (const base::Error& error) {
        return Broken(error.failure().description, promise.advice);
    }

    // --- Server and folders
    // ---------------------------------------------------------------------------------

    DavFinding Connection() {
        const Sight sight = Look(m_send + L"/");
        if (!sight.target.empty()) return LeadsTo(sight.target);
        try {
            if (m_server.IsThere(m_send))
                return Kept(L"The server " + m_server.Name() + L" is reached, and takes the login.");
        } catch (const HttpError&) {
            throw;  // it was not even reached
        } catch (const base::Error& error) {
            return Broken(error.failure().description, IsNoWebDav(sight.status) ? kWebDavAdvice : L"");
        }
        return Broken(L"The server " + m_server.Name() + L" has no folder at that address.",
                      L"Correct the address in the settings, or make the folder on the server.");
    }

    /// Whether a status to PROPFIND is that of a server, or of a place on one, that knows no such method.
    static bool IsNoWebDav(DWORD status) {
        const bool isOtherAnswer = status / 100 == 2 && status != kMultistatus;
        return isOtherAnswer || status == HTTP_STATUS_BAD_METHOD || status == HTTP_STATUS_NOT_SUPPORTED;
    }

    static DavFinding LeadsTo(const std::wstring& target) {
        return Broken(L"The server leads to " + target +
                          L", which is not followed: the login would go along.",
                      L"Use that address in the settings, if you trust it.");
    }

    DavFinding Clock() {
        constexpr std::chrono::minutes kNear{2};
        const auto date = Look(m_send + L"/").date;
        if (!date) return Noted(L"The server does not tell its time.");
        const auto difference = *date - base::Now();
        if (difference <= kNear && difference >= -kNear) return Kept(L"The server's clock goes as this one.");
        const auto minutes = std::chrono::duration_cast<std::chrono::minutes>(difference).count();
        return Noted(L"The server's clock differs from this one by " + std::to_wstring(minutes) +
                         L" minutes.",
                     L"Set both clocks by a time server. Packets do not depend on it, but certificates do.");
    }

    DavFinding Folders() {
        Sweep();
        m_hasMade = true;
        for (const std::wstring& folder : {m_send, m_folder, m_receive, m_claims})
            FolderProvider(m_server).Provide(folder);
        return Kept(L"Folders are there, or could be created: " + m_send + L", " + UploadsOf(m_send) + L", " +
                    m_receive + L", " + m_receive + L".claims.");
    }

    /// A path without "/" at its end is asked for where a folder may be there already.
    DavFinding Redirects() {
        const std::wstring target = Look(m_folder).target;
        if (target.empty()) return Kept(L"Folders are found with and without / at the end.");
        const std::string path = UrlPath::EncodePath(m_folder) + "/";
        if (target != m_connection.UrlOf(path) && target != m_connection.PathOf(path)) return LeadsTo(target);
        return Noted(
            L"The server leads the path of a folder to the same one with / at the end, which is what "
            L"packets use.");
    }

    struct Sight {
        DWORD status = 0;
        std::wstring target;  ///< of a redirect; empty where it is none
        std::optional<base::FileTime> date;
        bool isEncoded = false;
    };

    /// How the server answers to a path as it is.
    Sight Look(const std::wstring& path) const {
        const auto [request, status] =
            m_connection.Ask(L"PROPFIND", UrlPath::EncodePath(path), [](HttpRequest& propfind) {
                propfind.AddHeader(L"Depth: 0");
                propfind.Send();
            });
        const bool leads = status / 100 == 3;
        return {status, leads ? request.Header(L"Location").value_or(L"nowhere") : L"", request.Date(),
                request.Header(L"Content-Encoding").has_value()};
    }

    DavFinding Compression() {
        if (Look(m_folder + L"/").isEncoded)
            return Broken(L"Answers come compressed, although they are asked for as they are.");
        return Kept(L"Answers come as they are asked for, not compressed.");
    }

    DavFinding SendFolder() { return LetsPass(m_folder, m_send); }

    DavFinding ReceiveFolder() {
        m_server.List(m_receive);
        return LetsPass(m_receive, m_claims);
    }

    DavFinding Claims() {
        const std::wstring claim = JoinRemote(m_claims, L"claimed.mdb");
        Put(L"claimed.mdb", "claimed");
        const DavReply moved = m_server.Move(OwnPath(L"claimed.mdb"), claim, Other::Stays);
        if (!moved.Succeeded()) return Broken(moved.failure);
        if (ContentAt(claim) != "claimed") return Broken(L"A claimed file does not come as it was sent.");
        const DavReply deleted = m_server.Delete(claim);
        if (!deleted.Succeeded()) return Broken(deleted.failure);
        return Kept(L"What is claimed can be fetched and deleted.");
    }

    /// Whether what lies in a folder may be moved to another one, by an empty folder: nobody takes it for a
    /// packet meanwhile.
    DavFinding LetsPass(const std::wstring& from, const std::wstring& to) {
        const std::wstring target = JoinRemote(to, m_name) + L"/";
        FolderProvider folders(m_server);
        folders.Provide(JoinRemote(from, m_name));
        const DavReply moved = m_server.Move(JoinRemote(from, m_name) + L"/", target, Other::Stays);
        // Of folders some say so what of a packet would tell nothing.
        const bool isMoved = moved.Succeeded() || (moved.MayBeOfAnother() && m_server.Exists(target));
        if (!isMoved) folders.Provide(JoinRemote(to, m_name));
        const DavReply deleted = m_server.Delete(target);
        if (!deleted.Succeeded()) return Broken(deleted.failure);
        if (isMoved) return Kept(L"What lies in " + from + L" may be moved to " + to + L".");
        return Noted(L"In " + to +
                     L" folders may be created and deleted. Whether a packet may be moved there, only the "
                     L"first one will show: " +
                     moved.failure);
    }

    // --- Files
    // ----------------------------------------------------------------------------------------------

    DavFinding Names() {
        return ArriveAsSent(
            AwkwardNames(),
            L"Files with umlauts, blanks, signs, other scripts and long names keep their names.");
    }

    DavFinding Contents() {
        return ArriveAsSent(
            AwkwardContents(),
            L"What is stored has the length and the bytes that were sent, also an empty file, and text.");
    }

    DavFinding ArriveAsSent(const std::vector<Sample>& samples, const wchar_t* words) const {
        for (const Sample& sample : samples)
            if (const std::wstring fault = WhyNotAsSent(sample); !fault.empty()) return Broken(fault);
        return Kept(words);
    }

    std::wstring WhyNotAsSent(const Sample& sample) const {
        Put(sample.name, sample.content);
        const std::optional<DavEntry> entry = Listed(sample.name);
        const std::wstring file = L"The server took the file " + sample.name;
        if (!entry) return file + L", but does not list it.";
        if (!entry->size) return file + L", but does not tell its length.";
        if (*entry->size != sample.content.size())
            return file + L" of " + std::to_wstring(sample.content.size()) + L" bytes" +
                   L", and lists it with " + std::to_wstring(*entry->size) + L".";
        if (Content(sample.name) != sample.content)
            return L"The file " + sample.name + L" comes back with other bytes.";
        return {};
    }

    DavFinding Absence() {
        Put(L"gone.mdb", "gone");
        const DavReply deleted = m_server.Delete(OwnPath(L"gone.mdb"));
        if (!deleted.Succeeded()) return Broken(deleted.failure);
        if (m_server.Exists(OwnPath(L"gone.mdb")) || Listed(L"gone.mdb"))
            return Broken(L"The server tells of a file that it has deleted.");
        return Kept(L"What is deleted is gone, which the server tells.");
    }

    // --- MOVE
    // -----------------------------------------------------------------------------------------------

    DavFinding Move() {
        Put(L"from.mdb", "moved");
        const DavReply reply = m_server.Move(OwnPath(L"from.mdb"), OwnPath(L"to.mdb"), Other::Stays);
        if (!reply.Succeeded()) return Broken(reply.failure);
        if (Content(L"to.mdb") != "moved" || m_server.Exists(OwnPath(L"from.mdb")))
            return Broken(L"A file that was moved is not at its new place alone.");
        if (!m_server.TakesItsUrl())
            return Noted(
                L"A file can be moved, but not by a Destination with the address of the server: what stands "
                L"before it ends the encryption, or hands on another name. That costs each transfer some "
                L"requests.",
                kDestinationAdvice);
        return Kept(L"A file can be moved.");
    }

    DavFinding Replacement() {
        Put(L"newer.mdb", "older");
        Put(L"newer.mdb", "newer");
        Put(L"packet.mdb", "older");
        const DavReply reply =
            m_server.Move(OwnPath(L"newer.mdb"), OwnPath(L"packet.mdb"), Other::IsReplaced);
        if (!reply.Succeeded()) return Broken(reply.failure);
        if (Content(L"packet.mdb") != "newer")
            return Broken(L"A MOVE over an older file did not replace it.");
        return Kept(L"PUT and MOVE over an older file replace it.");
    }

    DavFinding Refusals() {
        Put(L"mine.mdb", "mine");
        Put(L"other.mdb", "other");
        for (const wchar_t* source : {L"mine.mdb", L"nothing.mdb"})
            if (m_server.Move(OwnPath(source), OwnPath(L"other.mdb"), Other::Stays).Succeeded())
                return Broken(L"A MOVE over another file, which it must not replace, is called a success.");
        if (Content(L"mine.mdb") != "mine" || Content(L"other.mdb") != "other")
            return Broken(L"A MOVE that was refused has changed files.");
        if (m_server.Move(OwnPath(L"nothing.mdb"), OwnPath(L"other.mdb"), Other::IsReplaced).Succeeded())
            return Broken(L"A MOVE of what is not there is called a success.");
        if (Content(L"other.mdb") != "other")
            return Noted(L"A MOVE of what is not there is refused, but deletes the file that it was to "
                         L"replace. The sender "
                         L"has the newer one then, and sends it again.");
        return Kept(L"A MOVE over what it must not replace, and one of what is not there, are refused, and "
                    L"change nothing.");
    }

    DavFinding OneWinner() {
        constexpr int kRounds = 5;
        for (int round = 0; round < kRounds; ++round)
            if (const std::wstring fault = WhyNotOneWinner(); !fault.empty()) return Broken(fault);
        return Kept(L"Of several MOVEs of one file at the same moment one wins.");
    }

    std::wstring WhyNotOneWinner() const {
        const std::wstring targets[] = {L"winner1.mdb", L"winner2.mdb", L"winner3.mdb"};
        Put(L"one.mdb", "one");
        std::vector<HttpRequest> moves;
        moves.reserve(std::size(targets));
        for (const std::wstring& target : targets)
            moves.push_back(BegunMove(L"one.mdb", target));
        const auto told =
            std::ranges::count_if(moves, [](HttpRequest& move) { return move.Receive() / 100 == 2; });
        const auto winners = std::ranges::count_if(targets, [&](const std::wstring& target) {
            const bool isThere = Content(target) == "one";
            if (isThere) m_server.Delete(OwnPath(target));
            return isThere;
        });
        if (told == 1 && winners == 1) return {};
        return L"Of " + std::to_wstring(std::size(targets)) + L" MOVEs of one file at the same moment " +
               std::to_wstring(told) + L" were told that they won, and " + std::to_wstring(winners) +
               L" brought it to its place.";
    }

    HttpRequest BegunMove(const std::wstring& from, const std::wstring& to) const {
        HttpRequest request = m_connection.Open(L"MOVE", UrlPath::EncodePath(OwnPath(from)));
        DavServer::AddDestination(request, m_server.DestinationOf(OwnPath(to)), Other::IsReplaced);
        request.Begin();
        return request;
    }

    DavFinding Readers() {
        std::string older = Version('0');
        Put(L"read.mdb", older);
        bool sawNeither = false;
        for (const char letter : {'1', '2', '3', '4', '5', '6', '7', '8'}) {
            const std::string newer = Version(letter);
            for (const std::optional<std::string>& seen : SeenWhileReplaced(newer)) {
                if (seen && *seen != older && *seen != newer)
                    return Broken(L"While a newer file replaced an older one, somebody was given neither of "
                                  L"them, but other bytes.");
                sawNeither = sawNeither || !seen;
            }
            older = newer;
        }
        if (sawNeither)
            return Noted(L"While a newer file replaces an older one, others see for a moment neither.");
        return Kept(L"While a newer file replaces an older one, others see one or the other.");
    }

    /// Contents that requests got which were on their way together with the MOVE; nothing where one got none.
    std::vector<std::optional<std::string>> SeenWhileReplaced(const std::string& newer) const {
        constexpr int kReaders = 4;
        Put(L"newer.mdb", newer);
        std::vector<HttpRequest> readers;
        readers.reserve(kReaders);
        const auto beginReading = [&] {
            readers.push_back(m_connection.Open(L"GET", UrlPath::EncodePath(OwnPath(L"read.mdb"))));
            readers.back().Begin();
        };
        beginReading();
        beginReading();
        HttpRequest move = BegunMove(L"newer.mdb", L"read.mdb");
        beginReading();
        beginReading();
        std::vector<std::optional<std::string>> seen;
        std::ranges::transform(readers, std::back_inserter(seen), &Play::ReadBody);
        if (move.Receive() / 100 != 2)
            throw base::Error(E_FAIL, L"A file that others read cannot be replaced.");
        return seen;
    }

    /// Nothing where the answer is none, or its end is missing: whoever reads a part notices that. Some
    /// servers break a connection whose file was replaced.
    static std::optional<std::string> ReadBody(HttpRequest& request) try {
        if (request.Receive() / 100 != 2) return std::nullopt;
        std::string body;
        for (base::Bytes bytes = request.Read(); !bytes.empty(); bytes = request.Read())
            body.append(bytes.begin(), bytes.end());
        return request.BodySize() == body.size() ? std::optional(body) : std::nullopt;
    } catch (const HttpError& error) {
        if (error.IsCancelled()) throw;
        return std::nullopt;
    }

    // --- Uploads
    // --------------------------------------------------------------------------------------------

    DavFinding CutUploads() {
        constexpr DWORD kTimeToNotice = 1000;  // milliseconds
        Put(L"older.mdb", "older");
        CutUpload(L"older.mdb");
        CutUpload(L"cut.mdb");
        Wait(kTimeToNotice);
        const std::optional<DavEntry> part = Listed(L"cut.mdb");
        if (part && part->size == kCutLength)
            return Broken(L"An upload that was cut off is listed with its full length.");
        if (part || m_server.Exists(OwnPath(L"cut.mdb")))
            return Noted(L"An upload that is cut off leaves a part. Nobody takes it for a packet, and the "
                         L"next upload replaces it.");
        if (Content(L"older.mdb") != "older")
            return Noted(L"An upload that is cut off over an older one leaves none of them. Nobody takes an "
                         L"upload for a packet.");
        return Kept(L"An upload that is cut off leaves nothing, and an older one as it was.");
    }

    /// The connection ends with the request.
    void CutUpload(const std::wstring& name) const {
        HttpRequest request = m_connection.Open(L"PUT", UrlPath::EncodePath(OwnPath(name)));
        request.SendHead(kCutLength);
        const std::span<std::uint8_t> part = request.Buffer(kCutLength / 2);
        std::ranges::fill(part, std::uint8_t{'x'});
        request.BeginWrite(part.size());
        request.FinishWrite();
    }

    void Wait(DWORD milliseconds) const {
        constexpr DWORD kSlice = 100;
        for (DWORD waited = 0; waited < milliseconds && !m_progress.Cancelled(); waited += kSlice) {
            Sleep(kSlice);
            com::ProcessPendingMessages();
        }
    }

    DavFinding LargeUploads() {
        constexpr std::uint64_t kLarge = 2048;
        constexpr DWORD kPatience = 1500;
        std::uint64_t refused = 0;
        for (std::uint64_t megabytes = kLarge;
             megabytes > 0 && m_server.RefusalOf(OwnPath(L"large.mdb"), megabytes << 20, kPatience);
             megabytes /= 2)
            refused = megabytes;
        if (refused == 0) return Kept(L"Uploads of 2 GB are not refused.");
        return Noted(L"Uploads of " + std::to_wstring(refused) +
                         L" MB are refused, those of half of that are not.",
                     L"If packets can be that large, raise the limit. Apache: LimitRequestBody 0. nginx: "
                     L"client_max_body_size 0. lighttpd: server.max-request-size = 0. What stands before the "
                     L"server may have "
                     L"a limit of its own.");
    }

    // --- What the play needs
    // --------------------------------------------------------------------------------

    std::wstring OwnPath(const std::wstring& name) const { return JoinRemote(m_folder, name); }

    /// Throws a failure.
    void Put(const std::wstring& name, std::string_view content) const {
        const DavReply reply = m_server.Put(OwnPath(name), content);
        if (!reply.Succeeded()) throw base::Error(E_FAIL, reply.failure);
    }

    /// Nothing where there is no such file. Throws a failure.
    std::optional<std::string> Content(const std::wstring& name) const { return ContentAt(OwnPath(name)); }

    std::optional<std::string> ContentAt(const std::wstring& path) const {
        std::string content;
        const DavReply reply =
            m_server.Get(path, [&](base::Bytes bytes) { content.append(bytes.begin(), bytes.end()); });
        if (reply.IsMissing()) return std::nullopt;
        if (!reply.Succeeded()) throw base::Error(E_FAIL, reply.failure);
        return content;
    }

    std::optional<DavEntry> Listed(const std::wstring& name) const {
        const auto entries = m_server.List(m_folder).value_or(std::vector<DavEntry>());
        const auto entry = std::ranges::find(entries, name, &DavEntry::name);
        return entry == entries.end() ? std::nullopt : std::optional(*entry);
    }

    DavFinding Cleanliness() {
        m_hasMade = false;
        Sweep();
        for (const std::wstring& folder : OwnFolders())
            if (m_server.Exists(folder + L"/"))
                return Noted(L"The folder " + folder + L" stays on the server.", L"Delete it there.");
        return Kept(L"What was made for this test has been deleted.");
    }

    std::vector<std::wstring> OwnFolders() const {
        return {m_folder, m_claims, JoinRemote(m_send, m_name), JoinRemote(m_receive, m_name)};
    }

    /// By a connection that goes on when somebody wants an end, but not for ever.
    void Sweep() const try {
        constexpr ULONGLONG kLongest = 10'000;  // milliseconds
        const ULONGLONG end = GetTickCount64() + kLongest;
        const DavServer sweeper(m_site, [end] { return GetTickCount64() < end; });
        for (const std::wstring& folder : OwnFolders())
            sweeper.Delete(folder + L"/");
    } catch (const HttpError&) {
        return;  // what stays is seen at the end, or deleted by the next play
    }

    static constexpr std::uint64_t kCutLength = 1 << 20;

    const HostProgress& m_progress;
    const HttpSite& m_site;
    const HttpRequest::GoOn m_goOn = [this] { return !m_progress.Cancelled(); };
    const HttpConnection m_connection{m_site, m_goOn};
    const DavServer m_server{m_site, m_goOn};
    const std::wstring& m_send;
    const std::wstring& m_receive;
    // To its end: a second one would play with the same files.
    const DavInstallation m_sender;
    const DavInstallation m_receiver;
    const std::wstring m_name;    ///< of what is made for the play
    const std::wstring m_folder;  ///< in which files are
    const std::wstring m_claims;
    bool m_hasMade = false;
};

std::span<const DavPromises::Play::Promise> DavPromises::Play::Promises() {
    static constexpr Promise kPromises[] = {
        {L"connection", &Play::Connection, L"", true},
        {L"clock", &Play::Clock, L""},
        {L"folders", &Play::Folders, kRightsAdvice, true},
        {L"redirects", &Play::Redirects, L""},
        {L"compression", &Play::Compression, kContentAdvice, true},
        {L"names", &Play::Names, kNamesAdvice},
        {L"contents", &Play::Contents, kContentAdvice},
        {L"absence", &Play::Absence, kServerAdvice},
        {L"move", &Play::Move, kWebDavAdvice, true},
        {L"replacement", &Play::Replacement, kServerAdvice},
        {L"refusals", &Play::Refusals, kServerAdvice},
        {L"one winner", &Play::OneWinner,
         L"Let no more than one installation receive from a folder there, or use another server."},
        {L"readers", &Play::Readers, L"Let nobody but receivers open packets there."},
        {L"cut uploads", &Play::CutUploads, kServerAdvice},
        {L"large uploads", &Play::LargeUploads, L""},
        {L"send folder", &Play::SendFolder, kRightsAdvice},
        {L"receive folder", &Play::ReceiveFolder, kRightsAdvice},
        {L"claims", &Play::Claims, kRightsAdvice},
        {L"end", &Play::Cleanliness, L""},
    };
    return kPromises;
}

bool DavPromises::AreKept(const Tell& tell) const { return Play(*this).Run(tell); }
