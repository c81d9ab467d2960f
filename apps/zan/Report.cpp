#include "Report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iomanip>
#include <iostream>
#include <sstream>

#include <sys/resource.h>

namespace
{

std::string keyOf(const std::string& label)
{
    std::string key = label;
    std::replace_if(
        key.begin(), key.end(), [](char c) { return c == ' ' || c == '-'; }, '_');
    return key;
}

std::string quoted(const std::string& text)
{
    std::string json = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            json += '\\';
            json += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escape[8];
            std::snprintf(escape, sizeof(escape), "\\u%04x", c);
            json += escape;
        } else {
            json += c;
        }
    }
    return json + '"';
}

std::string jsonOf(double value)
{
    constexpr int DIGITS = 17;
    return std::isfinite(value) ? number(value, DIGITS) : "null";
}

} // namespace

void Report::add(const std::string& label, const std::string& text)
{
    vLines.push_back({label, text, keyOf(label), quoted(text)});
}

void Report::add(const std::string& label, std::size_t count)
{
    vLines.push_back({label, std::to_string(count), keyOf(label), std::to_string(count)});
}

void Report::add(const std::string& label, double value, int numDigits)
{
    add(label, number(value, numDigits), value);
}

void Report::add(const std::string& label, const std::string& text, double value)
{
    vLines.push_back({label, text, keyOf(label), jsonOf(value)});
}

void Report::addJson(const std::string& key, const std::string& text)
{
    vLines.push_back({"", "", key, quoted(text)});
}

void Report::addJson(const std::string& key, double value)
{
    vLines.push_back({"", "", key, jsonOf(value)});
}

void Report::addJson(const std::string& key, const std::vector<std::string>& vTexts)
{
    std::string list;
    for (const std::string& text : vTexts)
        list += (list.empty() ? "" : ", ") + quoted(text);
    vLines.push_back({"", "", key, "[" + list + "]"});
}

void Report::addText(const std::string& label, const std::string& text)
{
    vLines.push_back({label, text, "", ""});
}

void Report::addSeconds(const std::string& stage, double seconds)
{
    const auto q = std::find_if(vSeconds.begin(), vSeconds.end(),
                                [&](const auto& entry) { return entry.first == stage; });
    if (q == vSeconds.end())
        vSeconds.emplace_back(stage, seconds);
    else
        q->second += seconds;
}

void Report::print(bool bJson)
{
    double total = 0.0;
    std::string text, json;
    for (const auto& [stage, seconds] : vSeconds) {
        total += seconds;
        text += (text.empty() ? " (" : ", ") + stage + " " + secondsText(seconds);
        json += quoted(keyOf(stage)) + ": " + number(seconds, 6) + ", ";
    }
    if (!vSeconds.empty())
        text += ")";
    vLines.push_back(
        {"time", secondsText(total) + text, "seconds", "{" + json + "\"total\": " + number(total, 6) + "}"});
    add("peak memory", megabytesText(peakMemory()), peakMemory());
    if (bJson)
        printJson();
    else
        printText();
}

void Report::printText() const
{
    constexpr int LABEL_WIDTH = 20;
    for (const Line& line : vLines)
        if (!line.label.empty())
            std::cout << std::left << std::setw(LABEL_WIDTH) << line.label << line.text << '\n';
}

void Report::printJson() const
{
    std::cout << "{";
    const char* separator = "\n";
    for (const Line& line : vLines) {
        if (line.key.empty())
            continue;
        std::cout << separator << "  " << quoted(line.key) << ": " << line.json;
        separator = ",\n";
    }
    std::cout << "\n}\n";
}

std::string number(double value, int numDigits)
{
    std::ostringstream text;
    text << std::setprecision(numDigits) << value;
    return text.str();
}

std::string secondsText(double seconds)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << seconds << " s";
    return text.str();
}

std::string megabytesText(double bytes)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(0) << bytes / 1e6 << " MB";
    return text.str();
}

double peakMemory()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) * 1024.0; // Linux counts in units of 1024 bytes
}
