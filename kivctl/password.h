#ifndef KIVCTL_PASSWORD_H
#define KIVCTL_PASSWORD_H

#include <iostream>
#include <string>

namespace kivctl {

// A password, read as a line of the standard input, since a command line can be seen by others, and wiped in the end.
class Password {
public:
    Password() {
        m_text.reserve(kRoom);  // a text that grew would leave its beginning behind
        std::cerr << "Password: " << std::flush;
        std::getline(std::cin, m_text);
        if (!m_text.empty() && m_text.back() == '\r')
            m_text.pop_back();
    }
    ~Password() {
        for (volatile char& character : m_text)
            character = 0;
    }
    Password(const Password&) = delete;
    Password& operator=(const Password&) = delete;

    char* Text() { return m_text.data(); }

private:
    static constexpr std::size_t kRoom = 1024;
    std::string m_text;
};

}  // namespace kivctl

#endif
