// quorvale-loopgroup SOURCE PATH GROUP GROUPS TIMES [keep] [drop] [inexact] [forge]: see loopedgroup.h.

#include "tools/loopedgroup/loopedgroup.h"

#include <exception>
#include <iostream>
#include <vector>

int main(int argc, char *argv[])
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() < 5) {
        std::cerr << "quorvale-loopgroup SOURCE PATH GROUP GROUPS TIMES [keep] [drop] [inexact] [forge]" << std::endl;
        return 2;
    }
    try {
        quorvale::LoopedGroup looped;
        looped.source = words[0];
        looped.path = words[1];
        looped.group = std::stoi(words[2]);
        looped.groups = std::stoi(words[3]);
        looped.times = std::stoi(words[4]);
        for (std::size_t i = 5; i < words.size(); ++i) {
            looped.keepsBeginning = looped.keepsBeginning || words[i] == "keep";
            looped.dropsLeading = looped.dropsLeading || words[i] == "drop";
            looped.changes.clearsExactMatch = looped.changes.clearsExactMatch || words[i] == "inexact";
            looped.changes.forgesRecoveryPoints = looped.changes.forgesRecoveryPoints || words[i] == "forge";
        }
        std::cout << quorvale::writeLoopedGroup(looped) << " access units in the group" << std::endl;
        return 0;
    } catch (const std::exception &error) {
        std::cerr << "quorvale-loopgroup: " << error.what() << std::endl;
        return 1;
    }
}
