// The files of `tavro send --csv`: the one with the messages, and the one for those that were not sent.
#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "failed_lines.h"
#include "send_job.h"

// "numbers.failed.csv" for "numbers.csv".
std::string FailedLinesNameFor(const std::string& path);

// Of the file, "-" for standard input. Throws std::runtime_error, which names the file, when it cannot be read, is not
// right, or the other one is there already.
std::vector<SendJob> ReadSendFile(const std::string& path, const std::string& failed, bool resendsUnknown);

// Throws std::runtime_error, which names it, when it cannot be made.
std::unique_ptr<FailedLines> MakeFailedLines(const std::string& path, const std::vector<SendJob>& jobs);

// Leaves in the file what was not sent, and says in lines for people what became of all. `lines` may be null when
// nothing was tried: the messages then stand where they came from. A file that cannot be written keeps its lines as
// they were marked, which is said on standard error.
void FinishSendFile(const std::vector<SendJob>& jobs, FailedLines* lines, const std::string& path, bool waited,
                    std::ostream& summary);
