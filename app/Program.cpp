#include <iostream>

#include "app/Commands.hpp"

namespace orvo::app {

int RunProgram(const Arguments&) {
  std::cerr << "orvo: this command is not built yet\n";
  return 2;
}

}  // namespace orvo::app
