// See DavServer.h.
#include "webdav/DavServer.h"

#include <algorithm>
#include <iterator>

#include "base/Error.h"
#include "base/SystemError.h"
#include "base/Utf8.h"
#include "http/HttpError.h"
#include "http/UrlPath.h"

namespace {

constexpr DWORD kMultistatus = 207;
constexpr DWORD kNotFound = 404;

void SendNothing(HttpRequest& request) { request.Send(); }

void SendText(HttpRequest& request, std::string_view text) {
    request.SendHead(text.size());
    for (base::Bytes rest = base::BytesOf(text); !rest.empty();) {
        const std::size_t length = std::min(rest.size(), request.Buffer().size());
        std::ranges::copy(rest.first(length), request.Buffer().begin());
        request.Write(length);
        rest = rest.subspan(length);
    }
}

void SendFile(HttpRequest& request, const base::File& file, const std::function<void(base::Bytes)>& watch) {
    const std::uint64_t size = file.Size();
    request.SendHead(size);
    for (std::uint64_t offset = 0; offset < size;) {
        const std::size_t length = file.ReadAt(offset, request.Buffer());
        // A disk or share that has lost the rest need not say so; the server would wait for it.
        if (length == 0) throw base::SystemError(ERROR_READ_FAULT, "read", file.Path());
        watch(request.Buffer().first(length));
        request.Write(length);
        offset += length;
    }
}

/// The next request can take the connection only when nothing of this answer is left in it.
void Drain(HttpRequest& request) {
    constexpr std::size_t kMost = 64 << 10;
    for (std::size_t read = 0; read < kMost;) {
        const std::size_t length = request.Read().size();
        if (length == 0) return;
        read += length;
    }
}

/// What a status means where it is neither a success nor a matter of who was faster.
struct Meaning {
    DWORD status;
    const wchar_t* text;
};
constexpr Meaning kMeanings[] = {
    {401, L"it does not accept user and password. Check the login"},
    {403, L"the user has no right to do that there. Give the right to it on the server"},
    {404, L"there is nothing of that name. Check the address and the folders"},
    {405, L"it does not know that method there. Switch WebDAV on for that address"},
    {407, L"the proxy asks for a login"},
    {409, L"the folder for it is missing, or cannot be written"},
    {411, L"it wants to be told a length, which was told: a proxy takes it away"},
    {413, L"it is too large for the server. Raise the server's limit for the body of a request"},
    {423, L"it is locked by another program"},
    {429, L"it is busy. The next transfer tries again"},
    {501, L"it does not know that method. Switch WebDAV on, with all of its methods"},
    {502, L"the proxy before it got no answer from it"},
    {503, L"it is busy or being serviced. The next transfer tries again"},
    {504, L"the proxy before it waited for its answer in vain"},
    {507, L"it is out of space"},
};

std::wstring MeaningOf(DWORD status) {
    const auto meaning = std::ranges::find(kMeanings, status, &Meaning::status);
    if (meaning != std::end(kMeanings)) return meaning->text;
    if (status / 100 == 3)
        return L"it leads to another address, which is not followed. Use that address, if you trust it";
    if (status / 100 == 2)
        return L"something else answers in its place, such as the page of a login to the network";
    return L"it failed";
}

std::wstring LastName(const std::wstring& path) {
    const std::size_t end = path.find_last_not_of(L'/');
    const std::wstring trimmed = path.substr(0, end == std::wstring::npos ? 0 : end + 1);
    return trimmed.substr(trimmed.rfind(L'/') + 1);
}

}  // namespace

std::wstring DavServer::Explained(DWORD status, const wchar_t* method, const std::wstring& path) const {
    return L"The server " + m_connection.Server() + L" answers " + std::to_wstring(status) + L" to " +
           method + L" " + (path.empty() ? L"/" : path) + L": " + MeaningOf(status) + L".";
}

DavReply DavServer::Ask(const wchar_t* method, const std::wstring& path, const Use& send,
                        const Use& use) const try {
    HttpRequest request = m_connection.Open(method, UrlPath::EncodePath(path));
    send(request);
    const DWORD status = request.Receive();
    const bool succeeded = status / 100 == 2;
    if (succeeded && use) use(request);
    Drain(request);
    if (succeeded) return {status, {}};
    return {status, Explained(status, method, path)};
} catch (const HttpError& error) {
    if (error.IsCancelled()) throw;
    return {0, error.failure().description};
}

DavReply DavServer::Find(const std::wstring& path, const wchar_t* depth, const Use& use) const {
    const auto send = [&](HttpRequest& request) {
        request.AddHeader(std::wstring(L"Depth: ") + depth);
        request.AddHeader(L"Content-Type: application/xml; charset=\"utf-8\"");
        SendText(request, kDavProperties);
    };
    DavReply reply = Ask(L"PROPFIND", path, send, use);
    // A page that says something else is no list of a folder.
    if (reply.Succeeded() && reply.status != kMultistatus)
        return {reply.status == 200 ? 405 : reply.status, Explained(reply.status, L"PROPFIND", path)};
    return reply;
}

std::optional<std::vector<DavEntry>> DavServer::List(const std::wstring& folder) const {
    std::vector<DavEntry> entries;
    const auto read = [&](HttpRequest& answer) { entries = ReadMultistatus(answer, LastName(folder)); };
    // Some servers lead a path without it to the one with it.
    const DavReply reply = Find(folder.empty() ? folder : folder + L"/", L"1", read);
    if (reply.status == kNotFound) return std::nullopt;
    if (!reply.Succeeded()) throw base::Error(E_FAIL, reply.failure);
    return entries;
}

bool DavServer::Exists(const std::wstring& path) const {
    const DavReply reply = Find(path, L"0", {});
    if (!reply.Succeeded() && reply.status != kNotFound) throw base::Error(E_FAIL, reply.failure);
    return reply.Succeeded();
}

void DavServer::ProvideFolder(const std::wstring& folder) const {
    const DavReply reply = Ask(L"MKCOL", folder + L"/", &SendNothing);
    constexpr DWORD kCreated = 201;
    constexpr DWORD kIsThere = 405;
    if (reply.status == kCreated || reply.status == kIsThere) return;
    if (!Exists(folder)) throw base::Error(E_FAIL, reply.failure);
}

DavReply DavServer::Put(const std::wstring& path, const base::File& file,
                        const std::function<void(base::Bytes)>& watch) const {
    return Ask(L"PUT", path, [&](HttpRequest& request) { SendFile(request, file, watch); });
}

DavReply DavServer::Put(const std::wstring& path, std::string_view text) const {
    return Ask(L"PUT", path, [&](HttpRequest& request) { SendText(request, text); });
}

DavReply DavServer::Move(const std::wstring& from, const std::wstring& to, Other other) const {
    return Ask(L"MOVE", from, [&](HttpRequest& request) {
        request.AddHeader(L"Destination: " + m_connection.UrlOf(UrlPath::EncodePath(to)));
        request.AddHeader(other == Other::IsReplaced ? L"Overwrite: T" : L"Overwrite: F");
        request.Send();
    });
}

DavReply DavServer::Delete(const std::wstring& path) const { return Ask(L"DELETE", path, &SendNothing); }

DavReply DavServer::Get(const std::wstring& path, const std::function<void(base::Bytes)>& take) const {
    std::wstring failure;
    const auto read = [&](HttpRequest& answer) {
        const std::optional<std::uint64_t> size = answer.BodySize();
        if (!size) {
            failure = L"The server " + Name() + L" does not tell the length of " + path +
                      L", so that nobody would know whether all of it came. Switch off its compression.";
            return;
        }
        std::uint64_t received = 0;
        for (base::Bytes bytes = answer.Read(); !bytes.empty(); bytes = answer.Read()) {
            take(bytes);
            received += bytes.size();
        }
        // The system ends a body that is cut off as it ends a whole one.
        if (received != *size)
            failure = L"The server " + Name() + L" sent " + std::to_wstring(received) + L" of the " +
                      std::to_wstring(*size) + L" bytes of " + path + L".";
    };
    DavReply reply = Ask(L"GET", path, &SendNothing, read);
    if (!failure.empty()) return {0, failure};
    return reply;
}
