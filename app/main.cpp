#include <exception>
#include <iostream>
#include <string_view>

#include "app/Commands.hpp"

int main(int argc, char** argv) {
  using namespace orvo::app;
  Arguments arguments(argv + 1, argv + argc);
  try {
    if (!arguments.empty()) {
      const std::string command = arguments.front();
      const Arguments rest(arguments.begin() + 1, arguments.end());
      if (command == "parse") return RunParse(rest);
      if (command == "declination") return RunDeclination(rest);
      if (command == "region") return RunRegion(rest);
      if (command == "simulate") return RunSimulate(rest);
      if (command == "map") return RunMap(rest);
      if (command == "route") return RunRoute(rest);
    }
    return RunProgram(arguments);
  } catch (const std::exception& error) {
    std::cerr << "orvo: " << error.what() << '\n';
    return 1;
  }
}
