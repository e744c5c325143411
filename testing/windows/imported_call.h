#pragma once

/// Leads every call that this program makes to the system's function `name` to `replacement`
/// instead. @return the system's function.
void* ReplaceImportedCall(const char* name, void* replacement);

template <class Function>
Function* ReplaceImportedCall(const char* name, Function* replacement) {
  return reinterpret_cast<Function*>(
      ReplaceImportedCall(name, reinterpret_cast<void*>(replacement)));
}
