// Stand-ins for the host framework's objects, registered in this process; a test arranges what they
// answer and reads what they were told.
#pragma once

#include <windows.h>
#include <wrl/client.h>

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tests/win/support/ServedClass.h"
#include "tests/win/support/TempFolder.h"
#include "znFramework.h"

namespace tests {

struct LogEntry {
    std::wstring text;
    LONG type = 0;
};

/// State behind the stand-ins of the calling thread; every object reads and writes the newest one.
class Framework {
public:
    Framework();
    Framework(const Framework&) = delete;
    Framework& operator=(const Framework&) = delete;
    ~Framework();

    std::vector<LogEntry> log;
    const TempFolder* scratch = nullptr;  ///< shown as "T:" in the log
    HRESULT logResult = S_OK;
    std::function<void()> onLog = [] {};  ///< what happens while an entry is written
    std::wstring title;                   ///< what the start-up service was given
    std::wstring startUp;                 ///< what start-up created and asked for, in order
    std::map<LONG, std::wstring> resources = {{145, L"Test Tool"}, {120, L"Folder Copy"}};
    std::map<std::wstring, std::wstring> folders;   ///< by "E/Kind" or "F/Kind"
    std::map<std::wstring, std::wstring> registry;  ///< by "product/subkey/name"
    std::map<std::wstring, VARTYPE> defaults;       ///< types of the defaults that were offered, by entry
    std::wstring unreadable;                        ///< entry of the registry that cannot be read
    std::wstring unwritable;                        ///< the same for writing
    std::function<void()> afterRefusal = [] {};     ///< what happens once that was refused
    bool userInterface = false;
    int userInterfaceQuestions = 0;
    HRESULT userInterfaceResult = S_OK;
    long objects = 0;  ///< stand-ins that are alive

    /// What was logged since the last call.
    std::vector<LogEntry> TakeLog() { return std::exchange(log, {}); }
    /// Its texts, each followed by a line of its own with "--".
    std::wstring TakeLogText();
    /// Forgets the class of one object, as if the host had not registered it.
    void Remove(const CLSID& clsid);

private:
    template <class Class, class Double>
    void Serve();

    std::map<std::wstring, ServedClass> m_served;
};

/// A property set with texts.
Microsoft::WRL::ComPtr<IZNPropertySet>
Properties(const std::vector<std::pair<std::wstring, std::wstring>>& values);
std::wstring PropertiesAsText(IZNPropertySet* set);

}  // namespace tests
