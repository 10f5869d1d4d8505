// The FILE arguments and --force, which all commands that read messages take.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace emltool {

class MessageArguments {
  public:
    enum class Count { kOne, kMany };

    // Declares FILE, which stands before the options in the help.
    MessageArguments(CLI::App& app, Count count);

    // Declares --force, which stands after the other options.
    void declareForce(CLI::App& app);

    // Throws Problem if there is no file, or more than the command takes.
    void check() const;

    const std::vector<std::string>& files() const { return files_; }

    // The file of a command that takes one.
    const std::string& file() const { return files_.front(); }

    bool force() const { return force_; }

  private:
    std::string command_;
    Count count_;
    std::vector<std::string> files_;
    bool force_ = false;
};

}  // namespace emltool
