// Runs a helper program of the tests, under the emulator where the tests themselves run under it, and keeps
// what it prints. Programs named here are targets of the same build.
#ifndef KALTO_TESTS_CHILD_PROCESS_H
#define KALTO_TESTS_CHILD_PROCESS_H

#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <spawn.h>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

struct ChildResult {
    pid_t pid;
    int status; // the exit status, or minus the signal that ended it
    std::string out;
    std::string err;
};

inline std::string read_back(FILE* file) {
    rewind(file);
    std::string text;
    for (int byte = fgetc(file); byte != EOF; byte = fgetc(file))
        text += static_cast<char>(byte);
    fclose(file);
    return text;
}

inline ChildResult run_child(const std::string& program, const std::vector<std::string>& arguments) {
    std::istringstream emulator(KALTO_TEST_EMULATOR);
    std::vector<std::string> words{std::istream_iterator<std::string>(emulator), {}};
    words.push_back(program);
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(&word[0]);
    argv.push_back(nullptr);

    FILE* out = tmpfile();
    FILE* err = tmpfile();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fileno(out), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, fileno(err), STDERR_FILENO);
    ChildResult result = {};
    int status = 0;
    if (posix_spawnp(&result.pid, argv[0], &actions, nullptr, argv.data(), environ) != 0 ||
        waitpid(result.pid, &status, 0) != result.pid)
        abort();
    posix_spawn_file_actions_destroy(&actions);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    result.out = read_back(out);
    result.err = read_back(err);
    return result;
}

#endif
