// See Multistatus.h.
#include "webdav/Multistatus.h"

#include <windows.h>
#include <wrl/client.h>
#include <xmllite.h>

#include <algorithm>
#include <cstring>
#include <exception>

#include "base/Error.h"
#include "base/Number.h"
#include "base/SystemError.h"
#include "base/Utf8.h"
#include "com/ErrorInfo.h"
#include "com/Object.h"
#include "http/HttpDate.h"
#include "http/UrlPath.h"

namespace {

using Microsoft::WRL::ComPtr;

constexpr std::wstring_view kNamespace = L"DAV:";
constexpr std::uint64_t kMostBytes = 64 << 20;
constexpr std::size_t kMostEntries = 200'000;

[[noreturn]] void Refuse(const wchar_t* why) {
    throw base::Error(base::kInvalidData,
                      std::wstring(L"The server's list of the folder cannot be used: ") + why + L".");
}

/// The body of an answer, as the system's parser reads it.
class BodyStream final : public com::Unbound<ISequentialStream> {
public:
    explicit BodyStream(HttpRequest& answer) : m_answer(answer) {}

    STDMETHODIMP Read(void* buffer, ULONG size, ULONG* read) override {
        try {
            const ULONG length = Copy(static_cast<std::uint8_t*>(buffer), size);
            if (read) *read = length;
            return length == size ? S_OK : S_FALSE;
        } catch (...) {
            failure = std::current_exception();
            return E_FAIL;
        }
    }
    STDMETHODIMP Write(const void*, ULONG, ULONG*) override { return E_NOTIMPL; }

    std::exception_ptr failure;  ///< which the parser knows as a number at most

private:
    ULONG Copy(std::uint8_t* buffer, ULONG size) {
        ULONG copied = 0;
        while (copied < size) {
            if (m_rest.empty()) m_rest = Next();
            if (m_rest.empty()) break;
            const auto length = static_cast<ULONG>(std::min<std::size_t>(size - copied, m_rest.size()));
            std::memcpy(buffer + copied, m_rest.data(), length);
            m_rest = m_rest.subspan(length);
            copied += length;
        }
        return copied;
    }
    base::Bytes Next() {
        const base::Bytes bytes = m_answer.Read();
        m_bytes += bytes.size();
        if (m_bytes > kMostBytes) Refuse(L"it has no end. Spread the packets over sub-folders");
        return bytes;
    }

    HttpRequest& m_answer;
    base::Bytes m_rest;
    std::uint64_t m_bytes = 0;
};

// The compiler has no import library of XmlLite, which every Windows has.
constexpr IID kXmlReaderId = {0x7279FC81, 0x709D, 0x4095, {0xB6, 0x3D, 0x69, 0xFE, 0x4B, 0x0D, 0x90, 0x30}};

ComPtr<IXmlReader> NewReader() {
    const HMODULE library = LoadLibraryExW(L"xmllite.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (!library) base::ThrowWin32(GetLastError(), L"xmllite.dll");
    const auto create = reinterpret_cast<decltype(&::CreateXmlReader)>(
        reinterpret_cast<void*>(GetProcAddress(library, "CreateXmlReader")));
    if (!create) base::ThrowWin32(GetLastError(), L"xmllite.dll");
    ComPtr<IXmlReader> reader;
    com::Check(create(kXmlReaderId, reinterpret_cast<void**>(reader.ReleaseAndGetAddressOf()), nullptr),
               L"XML reader");
    com::Check(reader->SetProperty(XmlReaderProperty_DtdProcessing, DtdProcessing_Prohibit), L"XML reader");
    return reader;
}

/// An entry, and how many names its reference has.
struct Response {
    DavEntry entry;
    std::ptrdiff_t depth = 0;
};

std::ptrdiff_t DepthOf(std::string_view reference) {
    while (reference.ends_with('/'))
        reference.remove_suffix(1);
    const std::size_t scheme = reference.find("://");
    if (scheme != std::string_view::npos)
        reference.remove_prefix(std::min(reference.find('/', scheme + 3), reference.size()));
    return std::ranges::count(reference, '/');
}

class MultistatusReader {
public:
    explicit MultistatusReader(HttpRequest& answer) : m_stream(com::Make<BodyStream>(answer)) {
        com::Check(m_reader->SetInput(m_stream.Get()), L"XML reader");
    }

    std::vector<Response> Read() {
        XmlNodeType type = XmlNodeType_None;
        for (HRESULT result = Next(type); result == S_OK; result = Next(type))
            Take(type);
        if (!m_isMultistatus) Refuse(L"it is none. Is WebDAV switched on for that address");
        return std::move(m_responses);
    }

private:
    HRESULT Next(XmlNodeType& type) {
        const HRESULT result = m_reader->Read(&type);
        if (m_stream->failure) std::rethrow_exception(m_stream->failure);
        if (FAILED(result)) Refuse(L"it is no XML, or was cut off");
        return result;
    }

    void Take(XmlNodeType type) {
        switch (type) {
        case XmlNodeType_Element: {
            const bool isEmpty = m_reader->IsEmptyElement();
            Open(ElementName());
            if (isEmpty) Close();
            return;
        }
        case XmlNodeType_EndElement:
            return Close();
        case XmlNodeType_Text:
        case XmlNodeType_CDATA:
            m_text += Value();
            return;
        default:
            return;
        }
    }

    void Open(std::wstring name) {
        if (m_path.empty()) m_isMultistatus = name == L"multistatus";
        m_path.push_back(std::move(name));
        m_text.clear();
        if (IsAt({L"response"})) m_response = Response();
        if (IsAt({L"response", L"propstat", L"prop", L"resourcetype", L"collection"}))
            m_response.entry.isFolder = true;
    }

    void Close() {
        if (IsAt({L"response", L"href"})) TakeReference(base::ToUtf8(m_text));
        if (IsAt({L"response", L"propstat", L"prop", L"getcontentlength"}))
            if (const auto size = base::NumberIn<std::uint64_t>(m_text)) m_response.entry.size = size;
        if (IsAt({L"response", L"propstat", L"prop", L"getlastmodified"}))
            if (const auto time = HttpDateIn(base::ToUtf8(m_text))) m_response.entry.modified = time;
        if (IsAt({L"response"})) {
            if (m_responses.size() == kMostEntries) Refuse(L"it holds too many names");
            m_responses.push_back(std::move(m_response));
        }
        m_path.pop_back();
        m_text.clear();
    }

    void TakeReference(std::string reference) {
        while (!reference.empty() && static_cast<unsigned char>(reference.back()) <= ' ')
            reference.pop_back();
        m_response.depth = DepthOf(reference);
        m_response.entry.name = UrlPath::LastName(reference).value_or(L"");
    }

    bool IsAt(std::initializer_list<std::wstring_view> below) const {
        return m_path.size() == below.size() + 1 &&
               std::equal(below.begin(), below.end(), m_path.begin() + 1);
    }

    /// Empty for an element of another kind of document.
    std::wstring ElementName() const {
        const wchar_t* space = nullptr;
        const wchar_t* name = nullptr;
        com::Check(m_reader->GetNamespaceUri(&space, nullptr), L"XML reader");
        com::Check(m_reader->GetLocalName(&name, nullptr), L"XML reader");
        return space == kNamespace ? name : L"";
    }
    std::wstring Value() const {
        const wchar_t* value = nullptr;
        UINT length = 0;
        com::Check(m_reader->GetValue(&value, &length), L"XML reader");
        return {value, length};
    }

    ComPtr<IXmlReader> m_reader = NewReader();
    ComPtr<BodyStream> m_stream;
    std::vector<std::wstring> m_path;  ///< the elements that are open, from the root
    std::wstring m_text;
    bool m_isMultistatus = false;
    Response m_response;
    std::vector<Response> m_responses;
};

/// The folder itself, which is listed with what it holds.
bool IsSelf(const Response& response, const std::wstring& folderName, std::ptrdiff_t least) {
    const DavEntry& entry = response.entry;
    return entry.isFolder && response.depth == least && (entry.name.empty() || entry.name == folderName);
}

}  // namespace

std::vector<DavEntry> ReadMultistatus(HttpRequest& answer, const std::wstring& folderName) {
    std::vector<Response> responses = MultistatusReader(answer).Read();
    std::vector<DavEntry> entries;
    if (responses.empty()) return entries;
    const std::ptrdiff_t least = std::ranges::min(responses, {}, &Response::depth).depth;
    for (Response& response : responses)
        if (!IsSelf(response, folderName, least)) entries.push_back(std::move(response.entry));
    return entries;
}
