// The controller type database over any file: the table keeps to its limits and every
// name it holds is found again by name.
#include "formats/controller_types.h"
#include "fuzz_support.h"

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = fuzz::WriteInput(data, size, "mctypes.dat");
  ControllerTypeTable table;
  MessageLog log;
  LoadControllerTypes(path, fuzz::ScratchFolder(), table, log);
  fuzz::Require(table.Count() <= ControllerTypeTable::kCapacity, "at most 65 types");
  for (int i = 0; i < table.Count(); ++i) {
    const ControllerType& type = table.At(i);
    fuzz::Require(type.ids.size() <= ControllerTypeTable::kMaxIds, "at most 256 identification values");
    const int found = table.FindControllerType(type.name);
    fuzz::Require(found >= 0 && found <= i, "a type is found by its name");
  }
  return 0;
}
