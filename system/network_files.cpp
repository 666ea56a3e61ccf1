#include "system/network_files.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace kalto {
namespace {

constexpr std::size_t kMostText = std::size_t{1} << 20; // no such file is longer; what is, is cut

// Closing may cancel the thread, so the destructor must let that pass.
class TextFile {
  public:
    explicit TextFile(const char* path) : descriptor_(open(path, O_RDONLY | O_CLOEXEC)) {}
    ~TextFile() noexcept(false) {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }
    TextFile(const TextFile&) = delete;
    TextFile& operator=(const TextFile&) = delete;

    std::string read_all() const {
        std::string text;
        char piece[1024];
        while (descriptor_ >= 0 && text.size() < kMostText) {
            const ssize_t size = read(descriptor_, piece, sizeof piece);
            if (size > 0) {
                text.append(piece, static_cast<std::size_t>(size));
            } else if (size == 0 || errno != EINTR) {
                break;
            }
        }
        return text;
    }

  private:
    int descriptor_;
};

// In the namespace of the calling thread where the kernel can tell, else in that of the process.
std::string proc_net(const std::string& name) {
    const std::string text = TextFile(("/proc/thread-self/net/" + name).c_str()).read_all();
    return text.empty() ? TextFile(("/proc/net/" + name).c_str()).read_all() : text;
}

// Takes the next line off the front of rest.
bool take_line(const char** rest, std::string& line) {
    if (**rest == '\0') {
        return false;
    }
    const char* end = std::strchr(*rest, '\n');
    line = end == nullptr ? std::string(*rest) : std::string(*rest, end);
    *rest += line.size() + (end == nullptr ? 0 : 1);
    return true;
}

// Takes the next word off the front of rest; empty at the end.
std::string take_word(const char** rest) {
    *rest += std::strspn(*rest, " \t\r");
    const std::size_t size = std::strcspn(*rest, " \t\r");
    std::string word(*rest, size);
    *rest += size;
    return word;
}

bool is_number(const std::string& word, std::size_t length, const char* digits) {
    return (length == 0 ? !word.empty() : word.size() == length) &&
           word.find_first_not_of(digits) == std::string::npos;
}

constexpr char kDecimal[] = "0123456789";
constexpr char kHexadecimal[] = "0123456789abcdefABCDEF";

std::uint32_t index_of(const std::string& word) {
    return static_cast<std::uint32_t>(std::strtoul(word.c_str(), nullptr, 10));
}

} // namespace

// A line for each interface, which begins with its index, and then indented ones that begin with a group: the
// address as the number that its bytes are in memory.
void parse_igmp(const std::string& text, std::vector<NetworkGroup>& groups) {
    const char* rest = text.c_str();
    std::string line;
    std::uint32_t index = 0;
    while (take_line(&rest, line)) {
        const char* words = line.c_str();
        const bool indented = *words == '\t' || *words == ' ';
        const std::string word = take_word(&words);
        if (!indented) {
            index = is_number(word, 0, kDecimal) ? index_of(word) : 0;
        } else if (index != 0 && is_number(word, 8, kHexadecimal)) {
            NetworkGroup group = {index, {AF_INET, {}}};
            const auto value = static_cast<std::uint32_t>(std::strtoul(word.c_str(), nullptr, 16));
            std::memcpy(group.address.bytes, &value, sizeof value);
            groups.push_back(group);
        }
    }
}

// Lines of index, name and address in 32 hexadecimal digits.
void parse_igmp6(const std::string& text, std::vector<NetworkGroup>& groups) {
    const char* rest = text.c_str();
    std::string line;
    while (take_line(&rest, line)) {
        const char* words = line.c_str();
        const std::string index = take_word(&words);
        take_word(&words);
        const std::string address = take_word(&words);
        if (is_number(index, 0, kDecimal) && index_of(index) != 0 && is_number(address, 32, kHexadecimal)) {
            NetworkGroup group = {index_of(index), {AF_INET6, {}}};
            for (std::size_t i = 0; i < sizeof group.address.bytes; ++i) {
                const std::string byte = address.substr(2 * i, 2);
                group.address.bytes[i] = static_cast<std::uint8_t>(std::strtoul(byte.c_str(), nullptr, 16));
            }
            groups.push_back(group);
        }
    }
}

// As resolv.conf(5) has them; a zone behind a link-local address is left to the adapter's index.
void parse_name_servers(const std::string& text, std::vector<NetworkGroup>& servers) {
    const char* rest = text.c_str();
    std::string line;
    while (take_line(&rest, line)) {
        const char* words = line.c_str();
        if (std::strncmp(words, "nameserver", 10) != 0 || (words[10] != ' ' && words[10] != '\t')) {
            continue;
        }
        words += 10;
        std::string address = take_word(&words);
        address.resize(std::min(address.find('%'), address.size()));
        for (const int family : {AF_INET, AF_INET6}) {
            NetworkGroup server = {kEveryInterface, {family, {}}};
            if (inet_pton(family, address.c_str(), server.address.bytes) == 1) {
                servers.push_back(server);
            }
        }
    }
}

void read_anycast(std::vector<NetworkGroup>& groups) {
    parse_igmp6(proc_net("anycast6"), groups);
}

void read_multicast(std::vector<NetworkGroup>& groups) {
    parse_igmp(proc_net("igmp"), groups);
    parse_igmp6(proc_net("igmp6"), groups);
}

void read_name_servers(std::vector<NetworkGroup>& servers) {
    parse_name_servers(TextFile("/etc/resolv.conf").read_all(), servers);
}

} // namespace kalto
