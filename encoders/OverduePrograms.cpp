// See OverduePrograms.h.
#include "encoders/OverduePrograms.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "base/Text.h"

namespace OverduePrograms {

namespace {

struct Program {
    std::wstring file;
    std::shared_ptr<const RunningProgram> running;  // also of those who wait for it
};

std::mutex access;
std::vector<Program> programs;

bool HasEnded(const Program& program) {
    return WaitForSingleObject(program.running->process.Get(), 0) != WAIT_TIMEOUT;
}

std::vector<Program> Writing(const std::wstring& file) {
    const std::scoped_lock lock(access);
    std::vector<Program> found = programs;
    std::erase_if(found,
                  [&](const Program& program) { return !base::EqualsIgnoringCase(program.file, file); });
    return found;
}

}  // namespace

void Add(const std::wstring& file, RunningProgram program) {
    const std::scoped_lock lock(access);
    std::erase_if(programs, HasEnded);
    programs.push_back({file, std::make_shared<const RunningProgram>(std::move(program))});
}

bool Await(const std::wstring& file, LONG seconds) {
    return std::ranges::all_of(Writing(file), [&](const Program& program) {
        return EndsProcessingMessages(program.running->process.Get(), seconds);
    });
}

}  // namespace OverduePrograms
