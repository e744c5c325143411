#include "testing/windows/imported_call.h"

#include <windows.h>

#include <cstdlib>
#include <cstring>

// A program calls the system through a table of addresses in its own image, filled when it is
// loaded and described by the import directory: for each DLL the names, and beside them the
// addresses.
void* ReplaceImportedCall(const char* name, void* replacement) {
  auto* image = reinterpret_cast<unsigned char*>(GetModuleHandleA(nullptr));
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(image);
  const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(image + dos->e_lfanew);
  const auto& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  const auto* dll =
      reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(image + directory.VirtualAddress);
  for (; dll->Name != 0; ++dll) {
    const auto* names = reinterpret_cast<const IMAGE_THUNK_DATA*>(image + dll->OriginalFirstThunk);
    auto* addresses = reinterpret_cast<void**>(image + dll->FirstThunk);
    for (; names->u1.AddressOfData != 0; ++names, ++addresses) {
      if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) continue;
      const auto* entry =
          reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(image + names->u1.AddressOfData);
      if (std::strcmp(reinterpret_cast<const char*>(entry->Name), name) != 0) continue;
      DWORD protection = 0;
      VirtualProtect(addresses, sizeof *addresses, PAGE_READWRITE, &protection);
      void* before = *addresses;
      *addresses = replacement;
      VirtualProtect(addresses, sizeof *addresses, protection, &protection);
      return before;
    }
  }
  std::abort();  // a test that replaces what nobody calls tests nothing
}
