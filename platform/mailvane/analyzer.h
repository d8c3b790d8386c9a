// The self-check of the mail server. Provided by libmailvane.so.
#pragma once

#include <list>
#include <string>

class Analyzer {
public:
    /// The result of one check.
    struct Result {
        std::string status;
        std::string key;  ///< name of the check
    };

    Analyzer();
    ~Analyzer();
    Analyzer(const Analyzer&) = delete;
    Analyzer& operator=(const Analyzer&) = delete;

    /// Runs the checks and appends their results; negative on failure.
    int Analyze(std::list<Result>& results);
};
