// A German locale, whatever the system has installed.
#pragma once

#include <clocale>
#include <cstdlib>
#include <string>

#include "tests/support/temp_folder.h"

namespace quillmoor::test {

// Set while the object lives. Compiled in its own folder by the system's `localedef`, with only
// German's numbers and messages, which takes little time.
class GermanLocale {
  public:
    GermanLocale() {
        std::string source;
        for (const char* category : {"LC_CTYPE", "LC_COLLATE", "LC_MONETARY", "LC_TIME"})
            source += copy(category, "POSIX");
        for (const char* category : {"LC_NUMERIC", "LC_MESSAGES"})
            source += copy(category, "de_DE");
        const std::string definition = folder_.writeFile("source", source);
        const std::string command = "localedef --force --inputfile='" + definition +
                                    "' --charmap=ANSI_X3.4-1968 '" + folder_ / kName +
                                    "' >/dev/null 2>&1";
        // Not examined: missing categories give a warning and a status of their own. inForce()
        // returns whether the locale was made.
        [[maybe_unused]] const int status = std::system(command.c_str());
        ::setenv("LOCPATH", folder_.path().c_str(), 1);
        ::setenv("LC_ALL", kName, 1);
        ::setenv("LANGUAGE", "de", 1);
        inForce_ = std::setlocale(LC_ALL, kName) != nullptr;
    }
    ~GermanLocale() {
        std::setlocale(LC_ALL, "C");
        for (const char* name : {"LOCPATH", "LC_ALL", "LANGUAGE"}) ::unsetenv(name);
    }
    GermanLocale(const GermanLocale&) = delete;
    GermanLocale& operator=(const GermanLocale&) = delete;

    // False where the system has no sources of locales.
    bool inForce() const { return inForce_; }

  private:
    static constexpr char kName[] = "de_DE";

    static std::string copy(const std::string& category, const std::string& from) {
        return category + "\ncopy \"" + from + "\"\nEND " + category + "\n";
    }

    TempFolder folder_;
    bool inForce_ = false;
};

}  // namespace quillmoor::test
