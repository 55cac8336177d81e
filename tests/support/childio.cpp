#include "childio.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <utility>

namespace tarn::console::child {

namespace {

constexpr std::size_t readBlockBytes = 65536;

std::string &inputBuffer()
{
    static std::string buffer;
    return buffer;
}

bool readMoreInput()
{
    static char block[readBlockBytes];
    ssize_t count = 0;
    do {
        count = ::read(STDIN_FILENO, block, sizeof block);
    } while (count < 0 && errno == EINTR);
    if (count <= 0)
        return false;
    inputBuffer().append(block, static_cast<std::size_t>(count));
    return true;
}

char escapedCharacter(char letter)
{
    switch (letter) {
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    case 'e':
        return '\x1B';
    case 's':
        return ' ';
    case '0':
        return '\0';
    default:
        return letter;
    }
}

} // namespace

void writeAll(int descriptor, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

void reportLine(std::string_view line)
{
    writeAll(STDOUT_FILENO, std::string(line) + '\n');
}

std::string unescaped(std::string_view text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            result += text[i];
        } else if (text[i + 1] == 'x' && i + 3 < text.size()) {
            const std::string digits(text.substr(i + 2, 2));
            result += static_cast<char>(std::strtoul(digits.c_str(), nullptr, 16));
            i += 3;
        } else {
            result += escapedCharacter(text[i + 1]);
            ++i;
        }
    }
    return result;
}

std::string repeatedTo(std::string_view text, std::size_t bytes)
{
    std::string result;
    result.reserve(bytes + text.size());
    while (!text.empty() && result.size() < bytes)
        result += text;
    result.resize(bytes);
    return result;
}

std::string_view takeWord(std::string_view &text)
{
    const std::size_t end = text.find(' ');
    const std::string_view word = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    return word;
}

long numberOr(std::string_view text, long fallback)
{
    const std::string digits(text);
    char *end = nullptr;
    const long number = std::strtol(digits.c_str(), &end, 10);
    return end == digits.c_str() ? fallback : number;
}

bool readInputLine(std::string &line)
{
    std::string &buffer = inputBuffer();
    std::size_t end = buffer.find('\n');
    while (end == std::string::npos) {
        const std::size_t searched = buffer.size();
        if (!readMoreInput())
            return false;
        end = buffer.find('\n', searched);
    }
    line = buffer.substr(0, end);
    buffer.erase(0, end + 1);
    return true;
}

std::string readInputToEnd()
{
    while (readMoreInput()) {
    }
    return std::exchange(inputBuffer(), std::string());
}

void sleepMilliseconds(long milliseconds)
{
    timespec left{milliseconds / 1000, milliseconds % 1000 * 1'000'000};
    while (::nanosleep(&left, &left) != 0 && errno == EINTR) {
    }
}

} // namespace tarn::console::child
