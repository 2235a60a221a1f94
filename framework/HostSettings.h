// What the host allows and wants, for the whole process.
#pragma once

#include <mutex>
#include <string>

#include "base/LogFile.h"

class HostSettings {
public:
    static constexpr auto kDefaultTitle = L"znTransporter";

    static HostSettings& OfProcess() {
        static HostSettings settings;
        return settings;
    }

    bool UserInterface() const { return Read(m_userInterface); }
    void UserInterface(bool allowed) { Write(m_userInterface, allowed); }
    std::wstring LogFile() const { return Read(m_logFile); }
    void LogFile(const std::wstring& path) { Write(m_logFile, path); }
    base::LogLimits LogLimits() const { return Read(m_logLimits); }
    void LogLimits(base::LogLimits limits) { Write(m_logLimits, limits); }
    std::wstring Title() const { return Read(m_title); }
    void Title(const std::wstring& title) { Write(m_title, title); }

private:
    template <class Value>
    Value Read(const Value& value) const {
        const std::scoped_lock lock(m_mutex);
        return value;
    }
    template <class Value>
    void Write(Value& target, const Value& value) {
        const std::scoped_lock lock(m_mutex);
        target = value;
    }

    mutable std::mutex m_mutex;
    bool m_userInterface = false;
    std::wstring m_logFile;
    base::LogLimits m_logLimits;
    std::wstring m_title = kDefaultTitle;
};
