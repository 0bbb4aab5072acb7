/// Logs in to an LDAP server and prints entries.
///
///     directory [--ssl] HOST PORT NAME BASE [FILTER [ATTRIBUTE...]]
///
/// The password comes from the environment variable DIRECTORY_PASSWORD or, where there is none, from the first line of
/// standard input, unseen at a console; never from the command line, which other users can read. Ends with 0, with 1
/// when something failed, or with 2 when the request was not understood.

#include <KFramework/KFramework.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <list>
#include <memory>
#include <set>
#include <string>
#include <vector>

using namespace KFramework::KLDAP;
using KFramework::KStringHelper::WideStringToUtf8String;

namespace
{
struct request
{
    int ssl = 0;
    std::string host, name, base, filter = "(objectClass=*)";
    int port = 0;
    std::set<std::string> attributes;
};

/// False when an argument is missing.
bool read_arguments(std::vector<std::string> words, request& wanted)
{
    if (!words.empty() && words.front() == "--ssl")
    {
        wanted.ssl = 1;
        words.erase(words.begin());
    }
    if (words.size() < 4)
        return false;
    wanted.host = words[0];
    wanted.port = std::atoi(words[1].c_str());
    wanted.name = words[2];
    wanted.base = words[3];
    if (words.size() > 4)
        wanted.filter = words[4];
    if (words.size() > 5)
        wanted.attributes.insert(words.begin() + 5, words.end());
    return wanted.port > 0;
}

constexpr DWORD kPasswordRoom = 2048;

/// What a person types at the console, unseen; false where standard input is no console.
bool read_console(wchar_t* text, DWORD& length)
{
    const HANDLE console = ::GetStdHandle(STD_INPUT_HANDLE);
    DWORD mode = 0;
    if (::GetConsoleMode(console, &mode) == 0)
        return false;
    std::fputs("Password: ", stderr);
    ::SetConsoleMode(console, mode & ~DWORD{ENABLE_ECHO_INPUT});
    if (::ReadConsoleW(console, text, kPasswordRoom, &length, nullptr) == 0)
        length = 0;
    ::SetConsoleMode(console, mode);
    std::fputs("\n", stderr);
    return true;
}

/// Wiped when it is no longer needed.
class password_text
{
public:
    password_text()
    {
        text_.reserve(3 * kPasswordRoom); // growing would leave copies behind
        wchar_t given[kPasswordRoom];
        ::SetLastError(ERROR_SUCCESS);
        DWORD length = ::GetEnvironmentVariableW(L"DIRECTORY_PASSWORD", given, kPasswordRoom);
        const bool in_environment = ::GetLastError() != ERROR_ENVVAR_NOT_FOUND;
        if (in_environment || read_console(given, length))
            assign(given, length < kPasswordRoom ? length : 0);
        else
            std::getline(std::cin, text_);
        ::SecureZeroMemory(given, sizeof given);
        while (!text_.empty() && (text_.back() == '\r' || text_.back() == '\n'))
            text_.pop_back();
    }
    ~password_text() { ::SecureZeroMemory(text_.data(), text_.size()); }
    password_text(const password_text&) = delete;
    password_text& operator=(const password_text&) = delete;

    const std::string& get() const { return text_; }

private:
    void assign(const wchar_t* text, DWORD length)
    {
        text_.resize(3 * length); // no character takes more
        const int size = ::WideCharToMultiByte(CP_UTF8, 0, text, static_cast<int>(length), text_.data(),
                                               static_cast<int>(text_.size()), nullptr, nullptr);
        text_.resize(static_cast<std::size_t>(size));
    }

    std::string text_;
};

struct session_end
{
    void operator()(ldap* session) const { unbindSession(session); }
};

/// What failed and why, for the person at the console; gives the exit code.
int fail(const char* what, unsigned int error)
{
    std::fprintf(stderr, "directory: cannot %s: %u, %s\n", what, error, errorLookup(static_cast<int>(error)));
    return 1;
}

void print_object(int number, const KldapObject& object)
{
    std::size_t width = 0;
    for (const auto& [name, value] : object.attributes)
        width = std::max(width, name.size());
    std::string label = std::to_string(number);
    for (const auto& [name, value] : object.attributes)
    {
        std::printf("%-2s %-*s  %s\n", label.c_str(), static_cast<int>(width), name.c_str(), value.c_str());
        label.clear();
    }
}

int print_entries(request& wanted, const std::string& password)
{
    unsigned int error = 0;
    const std::unique_ptr<ldap, session_end> session(
        allocateSession(wanted.host.c_str(), wanted.port, wanted.ssl, &error));
    if (!session)
    {
        // The system's code or the client's, which mean different things.
        std::fprintf(stderr, "directory: cannot make a session: error %u\n", error);
        return 1;
    }
    if (!connectSession(session.get(), &error))
        return fail("connect", error);
    if (!bindSession(session.get(), wanted.name.c_str(), password.c_str(), nullptr, &error))
        return fail("log in", error);
    std::list<KldapObject*> found;
    if (!search(session.get(), wanted.base.c_str(), wanted.filter.c_str(), &wanted.attributes, &found,
                &error))
        return fail("search", error);
    int number = 0;
    for (const KldapObject* object : found)
    {
        print_object(++number, *object);
        delete object;
    }
    std::printf("%d %s\n", number, number == 1 ? "entry" : "entries");
    // An entry that the client could not give ends a search that is good otherwise.
    return error == 0 ? 0 : fail("give every entry", error);
}
} // namespace

int wmain(int count, wchar_t** arguments)
{
    ::SetConsoleOutputCP(CP_UTF8);
    std::vector<std::string> words;
    for (int i = 1; i < count; ++i)
        words.push_back(WideStringToUtf8String(arguments[i]));
    request wanted;
    if (!read_arguments(words, wanted))
    {
        std::fputs("usage: directory [--ssl] HOST PORT NAME BASE [FILTER [ATTRIBUTE...]]\n"
                   "The password: DIRECTORY_PASSWORD in the environment, or a line on standard input.\n",
                   stderr);
        return 2;
    }
    const password_text password;
    if (password.get().empty())
    {
        std::fputs("directory: an empty password would let anybody in; not asking the server\n", stderr);
        return 1;
    }
    return print_entries(wanted, password.get());
}
