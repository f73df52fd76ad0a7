#pragma once
// The sub-commands of `orvo`. Each lives in its own file under app/.
#include <string>
#include <vector>

namespace orvo::app {

using Arguments = std::vector<std::string>;

int RunProgram(const Arguments& arguments);      // the map host with ORVO (Program.cpp)
int RunParse(const Arguments& arguments);        // orvo parse (ParseCommand.cpp)
int RunDeclination(const Arguments& arguments);  // orvo declination (DeclinationCommand.cpp)
int RunRegion(const Arguments& arguments);       // orvo region (RegionCommand.cpp)
int RunSimulate(const Arguments& arguments);     // orvo simulate (SimulateCommand.cpp)
int RunMap(const Arguments& arguments);          // orvo map (MapCommand.cpp)
int RunRoute(const Arguments& arguments);        // orvo route (RouteCommand.cpp)

}  // namespace orvo::app
