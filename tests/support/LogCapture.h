#pragma once
#include "TempFolder.h"
#include "shell/Log.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace marrowleaf::support {

// Sends the log to a file of the test's own and reads back its lines without time stamps.
class LogCapture {
public:
    LogCapture() {
        Log::setEcho(false);
        Log::setFile(folder / "test.log");
    }
    ~LogCapture() {
        Log::flush();
        Log::setFile({});
        Log::setEcho(true);
    }

    // "LEVEL message" for every line so far.
    std::vector<std::string> lines() {
        Log::flush();
        std::vector<std::string> result;
        std::istringstream in(readFile(folder / "test.log"));
        for (std::string line; std::getline(in, line);) {
            // Drop "yyyy-MM-dd HH:mm:ss.SSS ".
            result.push_back(line.size() > 24 ? line.substr(24) : line);
        }
        return result;
    }

    std::size_t count(const std::string& prefix) {
        auto all = lines();
        return static_cast<std::size_t>(std::count_if(
            all.begin(), all.end(), [&](const std::string& l) { return l.rfind(prefix, 0) == 0; }));
    }

private:
    TempFolder folder;
};

}
