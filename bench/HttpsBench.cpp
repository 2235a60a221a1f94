// The HTTPS sender/receiver against a bare loop of WinHTTP that makes the same requests, in turns on the same
// server. https_bench URL USER PASSWORD
#include <windows.h>
#include <winhttp.h>

#include <filesystem>
#include <functional>

#include "base/Handle.h"
#include "base/Text.h"
#include "bench/Bench.h"
#include "bench/Row.h"
#include "bench/Transfers.h"
#include "cipher/Base64.h"
#include "com/Object.h"
#include "http/HttpRequest.h"
#include "sendrecv/clsHTTPSndRcv.h"

using bench::Fail;
using bench::Load;

namespace {

struct Site {
    std::wstring url, user, password;

    std::vector<std::pair<std::wstring, std::wstring>> Settings(const wchar_t* folder) const {
        return {{L"HTTPServer", url},
                {L"HTTPUser", user},
                {L"HTTPPassword", password},
                {L"RemoteSendFolder", folder},
                {L"RemoteReceiveFolder", folder}};
    }
};

/// The requests of the library, which asks for what a transfer needs once besides.
class BareLoop final : public bench::Contender {
public:
    explicit BareLoop(const Site& site) : m_login(LoginOf(site)) {
        URL_COMPONENTS parts{};
        parts.dwStructSize = sizeof parts;
        parts.dwHostNameLength = parts.dwUrlPathLength = static_cast<DWORD>(-1);
        if (!WinHttpCrackUrl(site.url.c_str(), 0, 0, &parts)) Fail("WinHttpCrackUrl");
        const std::wstring host(parts.lpszHostName, parts.dwHostNameLength);
        m_path = std::wstring(parts.lpszUrlPath, parts.dwUrlPathLength);
        m_origin = site.url.substr(0, site.url.size() - m_path.size());
        m_session = WinHttpHandle(WinHttpOpen(L"bench", WINHTTP_ACCESS_TYPE_NO_PROXY, nullptr, nullptr, 0));
        m_connection = WinHttpHandle(WinHttpConnect(m_session.Get(), host.c_str(), parts.nPort, 0));
        if (!m_connection) Fail("WinHttpConnect");
        for (const wchar_t* folder : {L"/bare/", L"/bare.uploads/", L"/bare.claims/"})
            Ask(L"MKCOL", folder, {});
    }

    void Send(const std::wstring& from) override {
        const std::vector<std::wstring> names = bench::List(from).files;
        for (const std::wstring& name : names)
            Put(from + L"\\" + name, L"/bare.uploads/" + name);
        Ask(L"PROPFIND", L"/bare.uploads/", L"Depth: 1\r\n");
        for (const std::wstring& name : names) {
            Move(L"/bare.uploads/" + name, L"/bare/" + name);
            if (!DeleteFileW((from + L"\\" + name).c_str())) Fail("DeleteFileW");
        }
        m_sent = names;
    }
    void Receive(const std::wstring& to) override {
        Ask(L"PROPFIND", L"/bare/", L"Depth: 1\r\n");
        for (const std::wstring& name : m_sent) {
            Move(L"/bare/" + name, L"/bare.claims/" + name);
            Get(L"/bare.claims/" + name, to + L"\\" + name);
            Ask(L"DELETE", L"/bare.claims/" + name, {});
        }
    }

private:
    static std::wstring LoginOf(const Site& site) {
        const std::string login = base::ToSystemCodePage(site.user + L":" + site.password);
        return L"Authorization: Basic " + Base64Of(base::BytesOf(login)) + L"\r\n";
    }

    WinHttpHandle Open(const wchar_t* method, const std::wstring& path, const std::wstring& headers) const {
        WinHttpHandle request(WinHttpOpenRequest(m_connection.Get(), method, (m_path + path).c_str(), nullptr,
                                                 WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES,
                                                 WINHTTP_FLAG_SECURE));
        const std::wstring all = m_login + headers;
        if (!WinHttpAddRequestHeaders(request.Get(), all.c_str(), static_cast<DWORD>(all.size()),
                                      WINHTTP_ADDREQ_FLAG_ADD))
            Fail("WinHttpAddRequestHeaders");
        return request;
    }

    static void SendHead(const WinHttpHandle& request, DWORD size) {
        if (!WinHttpSendRequest(request.Get(), WINHTTP_NO_ADDITIONAL_HEADERS, 0, WINHTTP_NO_REQUEST_DATA, 0,
                                size, 0))
            Fail("WinHttpSendRequest");
    }

    /// Hands the body of the answer over.
    static void Finish(const WinHttpHandle& request, const std::function<void(const void*, DWORD)>& take) {
        if (!WinHttpReceiveResponse(request.Get(), nullptr)) Fail("WinHttpReceiveResponse");
        static std::vector<char> buffer(64 << 10);
        for (DWORD read = 1; read > 0;) {
            if (!WinHttpReadData(request.Get(), buffer.data(), static_cast<DWORD>(buffer.size()), &read))
                Fail("WinHttpReadData");
            take(buffer.data(), read);
        }
    }

    void Ask(const wchar_t* method, const std::wstring& path, const std::wstring& headers) const {
        const WinHttpHandle request = Open(method, path, headers);
        SendHead(request, 0);
        Finish(request, [](const void*, DWORD) {});
    }

    void Move(const std::wstring& from, const std::wstring& to) const {
        Ask(L"MOVE", from, L"Destination: " + m_origin + m_path + to + L"\r\nOverwrite: T\r\n");
    }

    void Put(const std::wstring& file, const std::wstring& path) const {
        const base::FileHandle source(
            CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        const WinHttpHandle request = Open(L"PUT", path, {});
        SendHead(request, GetFileSize(source.Get(), nullptr));
        static std::vector<char> buffer(64 << 10);
        for (DWORD read = 1; read > 0;) {
            DWORD written = 0;
            if (!ReadFile(source.Get(), buffer.data(), static_cast<DWORD>(buffer.size()), &read, nullptr) ||
                (read > 0 && !WinHttpWriteData(request.Get(), buffer.data(), read, &written)))
                Fail("ReadFile or WinHttpWriteData");
        }
        Finish(request, [](const void*, DWORD) {});
    }

    void Get(const std::wstring& path, const std::wstring& file) const {
        const base::FileHandle target(
            CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
        const WinHttpHandle request = Open(L"GET", path, {});
        SendHead(request, 0);
        Finish(request, [&](const void* bytes, DWORD length) {
            DWORD written = 0;
            if (!WriteFile(target.Get(), bytes, length, &written, nullptr)) Fail("WriteFile");
        });
        if (!FlushFileBuffers(target.Get())) Fail("FlushFileBuffers");
    }

    std::wstring m_login, m_origin, m_path;
    WinHttpHandle m_session, m_connection;
    std::vector<std::wstring> m_sent;
};

void Compare(const Load& load, bench::Contender& library, bench::Contender& bare) {
    const auto [ours, theirs] = bench::Race(load, library, bare);
    constexpr double kLimit = 1.1;
    const std::string name = load.name;
    bench::PrintRow(("HTTPS, library sends " + name).c_str(), "s", ours.send.seconds,
                    {"bare loop of WinHTTP", theirs.send.seconds, kLimit});
    bench::PrintRow(("HTTPS, library receives " + name).c_str(), "s", ours.receive.seconds,
                    {"bare loop of WinHTTP that flushes", theirs.receive.seconds, kLimit});
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 4) Fail("use: https_bench URL USER PASSWORD");
    const auto wide = [&](int index) { return base::FromSystemCodePage(arguments[index]); };
    const Site site{wide(1), wide(2), wide(3)};
    const tests::Library dll;
    const tests::ComApartment apartment;
    const tests::Framework framework;
    bench::SenderReceiver library(dll.Create<clsHTTPSndRcv, IZNSenderReceiver>(), site.Settings(L"library"));
    BareLoop bare(site);
    for (const Load& load :
         {Load{"500 files of 64 KB", 1, 500, 64 << 10, 3}, Load{"1 file of 200 MB", 1, 1, 200 << 20, 3}})
        Compare(load, library, bare);
}
