// Loading class libraries and finding their symbols, and the running
// program's own path. Modules are never unloaded.
#pragma once

#include <string>

namespace ZEM::platform {

// The path of the running executable; empty if it can't be had.
std::string ExecutablePath();

// True if `path` names the running executable, also through a relative path
// or a link: loading it loads nothing new.
bool IsRunningProgram(const char* path);

// Loads a module by path; the executable's own path gives the running program.
// Null on failure, with the loader's reason in `reason` if given.
void* LoadModule(const char* path, std::string* reason = nullptr);

// The address of `name` in `module`, or null.
void* FindSymbol(void* module, const char* name);

}  // namespace ZEM::platform
