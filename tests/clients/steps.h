// What the C++ clients share: the values of the tables, and the line that a step ends in.
#ifndef TESTS_CLIENTS_STEPS_H
#define TESTS_CLIENTS_STEPS_H

#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

using std::string;

// Statements that the server refuses, with state and native code.
struct refused_statement {
    const char *text, *state, *native;
};
constexpr refused_statement refused_statements[] = {
    {"SELEC 1", "42000", "8192"},
    {"SELECT * FROM vhcass_clients.missing", "42S02", "8704"},
    {"CREATE TABLE vhcass_clients.kinds (id int PRIMARY KEY)", "42S01", "9216"}};

template <typename T>
void check(const T &got, const T &wanted)
{
    std::ostringstream text;
    text << got << " instead of " << wanted;
    if (got != wanted)
        throw std::runtime_error(text.str().substr(0, 300));
}

// The columns of values.tsv or nested.tsv: the name, and the values.
inline std::vector<std::vector<string>> columns_of(const char *name)
{
    std::ifstream file(string(getenv("scripts")) + "/" + name);
    std::vector<std::vector<string>> columns;
    string line, cell;
    for (std::getline(file, line); std::getline(file, line);) {
        columns.emplace_back();
        for (std::istringstream cells(line + "\t"); std::getline(cells, cell, '\t');)
            columns.back().push_back(cell);
    }
    return columns;
}

inline string long_text(int length)
{
    string text;
    for (int i = 0; i < length; i += 10)
        text += "ż23456😀890";
    return text;
}

inline void step(const char *name, const std::function<void()> &body)
{
    const string asked_for = string(" ") + getenv("CLIENTS_STEPS") + " ";
    if (asked_for.find(string(" ") + name + " ") == string::npos)
        return;
    try {
        body();
        std::cout << "ok " << name << std::endl;
    } catch (const std::exception &problem) {
        std::cout << "FAILED " << name << ": " << problem.what() << std::endl;
    }
}

#endif
