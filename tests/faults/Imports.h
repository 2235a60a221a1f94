// Replaces functions in the import tables of the modules that lie in the program's folder.
#pragma once

#include <windows.h>

namespace faults {

using Function = FARPROC;

/// A function of the system, by the name under which modules import it.
struct Hook {
    const char* name;
    Function replacement;
    Function* original;  ///< is set before the replacement can be called
};

/// Replaces functions in the program and in what it loads later. hooks: live as long as the process; the last
/// one has no name.
void ReplaceImports(const Hook* hooks);

/// The replacement of a function that somebody looked up by its name; the function itself where it has none.
Function ReplacementOf(Function function, const char* name);

}  // namespace faults
