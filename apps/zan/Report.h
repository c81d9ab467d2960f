// What a command tells of its work on the standard output.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

// Collects figures in the order in which they are added. As text: one "label value" line each, the values
// below each other. As JSON: one object. The key of a line is its label with "_" for the blanks.
class Report
{
public:
    void add(const std::string& label, const std::string& text);
    void add(const std::string& label, std::size_t count);
    void add(const std::string& label, double value, int numDigits);

    // A line whose text says more than its number does.
    void add(const std::string& label, const std::string& text, double value);

    // Only in the object, and only in the text.
    void addJson(const std::string& key, const std::string& text);
    void addJson(const std::string& key, double value);
    void addJson(const std::string& key, const std::vector<std::string>& vTexts);
    void addText(const std::string& label, const std::string& text);

    // Seconds by stage, and their sum. Stages of the same name add up.
    void addSeconds(const std::string& stage, double seconds);

    // The seconds and the memory, then all of it.
    void print(bool bJson);

private:
    struct Line {
        std::string label; // empty: not in the text
        std::string text;
        std::string key; // empty: not in the object
        std::string json;
    };

    void printText() const;
    void printJson() const;

    std::vector<Line> vLines;
    std::vector<std::pair<std::string, double>> vSeconds;
};

// A length or coordinate with as many digits as help: nine for coordinates, six for spacings.
std::string number(double value, int numDigits);

// "0.12 s", and "123 MB" (10^6 bytes).
std::string secondsText(double seconds);
std::string megabytesText(double bytes);

// The largest memory the process has held so far, in bytes.
double peakMemory();
