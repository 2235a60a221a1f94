// A WebDAV server, by what packets need of it. Paths are decoded, below the site's, with "/" between names.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/ByteStream.h"
#include "base/File.h"
#include "http/HttpConnection.h"
#include "webdav/Multistatus.h"

/// Status of an answer that lists what a folder holds.
inline constexpr DWORD kMultistatus = 207;

/// How the server took a request.
struct DavReply {
    DWORD status = 0;      ///< 0 where no answer came, and nobody knows what was done
    std::wstring failure;  ///< in words that tell the way out; empty after a success

    /// Something else has the name.
    bool IsTaken() const noexcept { return status == 412; }
    /// The body of the request is longer than the server takes.
    bool IsTooLarge() const noexcept { return status == 413; }
    /// Nobody is known there by that login, or it does not reach that far.
    bool IsDenied() const noexcept { return status == 401; }
    bool IsForbidden() const noexcept { return status == 403; }
    /// There is nothing of that name.
    bool IsMissing() const noexcept { return status == 404; }
    /// Nor is the folder that it would be in, for all that the server tells.
    bool MayLackFolder() const noexcept { return status == 404 || status == 409; }
    bool IsAnswered() const noexcept { return status != 0; }
    /// As some servers answer to a Destination that is no address of theirs.
    bool MayRefuseDestination() const noexcept { return status == 400 || status == 502; }
    /// Nobody knows what was done: no answer came, or one of a proxy that got none.
    bool IsUnclear() const noexcept { return status == 0 || status == 502 || status == 504; }
    /// To any request the server, or what stands before it, would say the same now.
    bool IsUnavailable() const noexcept {
        return IsDenied() || status == 407 || status == 429 || status == 503;
    }
    bool IsOutOfSpace() const noexcept { return status == 507; }
    /// Something else that answers in the server's place, such as the login to a network, calls its page a
    /// success, too.
    bool MayBeOfAnother() const noexcept { return status == HTTP_STATUS_OK; }
    bool Succeeded() const noexcept { return status / 100 == 2 && failure.empty(); }
};

/// A failure throws only where it says so: what a request has brought about despite it, the state tells.
class DavServer {
public:
    DavServer(const HttpSite& site, HttpRequest::GoOn goOn) : m_connection(site, std::move(goOn)) {}

    const std::wstring& Name() const noexcept { return m_connection.Server(); }

    /// What lies in a folder; nothing when it is missing. Throws a failure.
    std::optional<std::vector<DavEntry>> List(const std::wstring& folder) const;
    /// The same; nothing also where the account may not look there.
    std::optional<std::vector<DavEntry>> ListWhereAllowed(const std::wstring& folder) const;
    /// What has that name; nothing when it is missing. Throws where the server does not tell.
    std::optional<DavEntry> Look(const std::wstring& path) const;
    bool Exists(const std::wstring& path) const { return Answers(path, {}); }
    /// Whether the site is there, by a folder that the account reaches, and that need not be there yet.
    /// Throws where the server does not tell.
    bool IsThere(const std::wstring& folder) const;
    /// After a failure whose cause may be the server: throws where that is not there, or leaves one MOVE
    /// after the other without an answer, as it would each later one.
    void Check(const std::wstring& folder) const;
    /// Creates a folder where it is missing. A success means that it is there then.
    DavReply ProvideFolder(const std::wstring& folder) const;

    /// What is sent passes through watch.
    DavReply Put(const std::wstring& path, const base::File& file,
                 const std::function<void(base::Bytes)>& watch) const;
    DavReply Put(const std::wstring& path, std::string_view text) const;
    /// The answer to so long a body where that is too large; nothing where it is not, or the server does not
    /// say so at once. patience: milliseconds, for which most servers wait in vain.
    std::optional<DavReply> RefusalOf(const std::wstring& path, std::uint64_t bytes, DWORD patience) const;
    enum class Other { Stays, IsReplaced };
    /// Where the server does not take its own URL for the place to move to, as behind a proxy that ends the
    /// encryption, it is told in other forms, and from then on at once in that which it takes.
    DavReply Move(const std::wstring& from, const std::wstring& to, Other other) const;
    bool TakesItsUrl() const noexcept { return m_form == Form::Url; }
    /// In the form that the server takes for the place to move to.
    std::wstring DestinationOf(const std::wstring& path) const { return DestinationIn(m_form, path); }
    /// Whether something was moved, by the status. Others, such as that of a page, tell nothing of it.
    static bool HasMoved(DWORD status) noexcept {
        return status == HTTP_STATUS_CREATED || status == HTTP_STATUS_NO_CONTENT;
    }
    /// Tells a request where to move something. destination: a URL, or an absolute path.
    static void AddDestination(HttpRequest& request, const std::wstring& destination, Other other);
    DavReply Delete(const std::wstring& path) const;
    /// Hands a file's content over. The reply is no success where less came than the server told.
    DavReply Get(const std::wstring& path, const std::function<void(base::Bytes)>& take) const;
    /// The same from an offset on; begin is told where what comes begins: there, or at 0 where the server
    /// knows no parts. The status is kNothingThere where the file ends at the offset, or before.
    DavReply Get(const std::wstring& path, std::uint64_t offset,
                 const std::function<void(std::uint64_t)>& begin,
                 const std::function<void(base::Bytes)>& take) const;
    static constexpr DWORD kNothingThere = 416;

    /// Of a reply whatever it is: one that seemed to be a success may have been none.
    std::wstring Explained(const DavReply& reply, const wchar_t* method, const std::wstring& path) const {
        return reply.failure.empty() ? Explained(reply.status, method, path) : reply.failure;
    }
    /// The failure of a reply that was no success. reason: where more is known than what the status means.
    std::wstring Explained(DWORD status, const wchar_t* method, const std::wstring& path,
                           const std::wstring& reason = {}) const;

private:
    using Use = std::function<void(HttpRequest&)>;
    /// Of a Destination. The last one is what a server sees of its own that knows nothing of the encryption.
    enum class Form { Url, Path, PlainUrl };

    /// send: sends the body, where there is one. use: of an answer that is a success.
    DavReply Ask(const wchar_t* method, const std::wstring& path, const Use& send, const Use& use = {}) const;
    /// isNone: which failure means that nothing is there.
    std::optional<std::vector<DavEntry>> ListUnless(const std::function<bool(const DavReply&)>& isNone,
                                                    const std::wstring& folder) const;
    /// What an answer tells beyond what its status means; empty where it tells nothing.
    std::wstring ReasonIn(const HttpRequest& answer, DWORD status) const;
    DavReply Find(const std::wstring& path, const wchar_t* depth, const Use& use) const;
    bool Answers(const std::wstring& path, const Use& use) const;
    std::wstring DestinationIn(Form form, const std::wstring& path) const;
    DavReply MoveOnce(const std::wstring& from, const std::wstring& to, Other other, Form form) const;
    /// After a refusal that may be one of the Destination: the reply to a form that the server takes, if
    /// there is one.
    std::optional<DavReply> MovedByAnotherForm(const std::wstring& from, const std::wstring& to,
                                               Other other) const;

    HttpConnection m_connection;
    mutable Form m_form = Form::Url;
    mutable bool m_hasTriedForms = false;
    mutable int m_unansweredMoves = 0;  ///< in a row
};
