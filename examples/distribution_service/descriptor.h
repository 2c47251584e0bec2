#ifndef DISTRIBUTION_SERVICE_DESCRIPTOR_H
#define DISTRIBUTION_SERVICE_DESCRIPTOR_H

#include <string>
#include <vector>

// One step of a job, the last of which is always final. Its work is played by the time that it takes.
struct Step {
    bool isFinal;  // once such a step has begun, the job cannot be cancelled any more
    unsigned long milliseconds;
    std::string what;
};

struct Job {
    std::string name;
    std::vector<Step> steps;
};

// Reads a job descriptor file, whole, and makes a job of it. Returns the code of the answer: 0, 2 when there is no such
// file, 5 when it cannot be read, 13 when it is no job descriptor.
//
//     JDF 1                           the first line
//     job Editor 7.1                  the job's name
//     step 200 copy the files         milliseconds, at most 600000, and what is done
//     final 50 enter it in the list   a step that cannot be undone
//     ; a remark
unsigned long ReadDescriptor(const std::string& path, Job& job);

#endif
