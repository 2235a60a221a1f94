// The last run of an installation, remembered in a file beside its send folder.
#pragma once

#include <optional>
#include <string>

#include "host/record/RunRecord.h"
#include "host/settings/Settings.h"

/// The file appears in one step, so that it is whole whenever a run ends. A run that cannot write it goes on;
/// what it leaves is a record without packets, or none, and not that of an earlier run.
class StatusFile {
public:
    explicit StatusFile(const Settings& settings);

    const std::wstring& Path() const noexcept { return m_path; }
    void Write(const RunRecord& record) const noexcept;
    /// Nothing without a run, or where the file cannot be read.
    std::optional<RunRecord> Read() const;

private:
    const std::wstring m_path;
};

/// Writes down that a run has begun, and at its end what became of it.
class RememberedRun {
public:
    /// record: of the run; it outlives this.
    RememberedRun(const RunRecord& record, const Settings& settings);
    RememberedRun(const RememberedRun&) = delete;
    RememberedRun& operator=(const RememberedRun&) = delete;
    ~RememberedRun();

private:
    const RunRecord& m_record;
    const StatusFile m_file;
};

/// Writes down that no cycle took place because of the settings, as far as they tell where. Another run that
/// is at work keeps its record.
void RememberNoCycle(const RunRecord& record) noexcept;

/// The last run of an installation, as it is now.
LastRun LastRunOf(const Settings& settings);
