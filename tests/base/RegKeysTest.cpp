#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>

#include "base/RegKeys.h"
#include "RecordingHost.h"

namespace {

namespace fs = std::filesystem;
using namespace fixtures;
using namespace std::string_view_literals;

std::string Repeated(std::string_view piece, int n) { std::string text; while (n-- > 0) text += piece; return text; }

// Value data as Wine writes it after "reg add" and "reg import", and what the query hands back. In the
// file they are "Z0", "Z1", ... of the game's key, which its Wow6432Node twin lacks.
const struct { std::string Data, Text; } Values[] = {
    {R"("caf\xe9 \x6f22\x5b57")", "caf\u00e9 \u6f22\u5b57"}, {R"("x\xd83d\xde00y")", "x\U0001F600y"},
    {R"("\x00e9a \xe9z\0001")", "\u00e9a \u00e9z"},  // four hex digits where a fifth follows; NUL ends it
    {R"("a\1b\0017\ec\rd\ve\af\bg\fh\ti\nj")", "a\x01" "b\x01" "7\x1b" "c\rd\ve\af\bg\fh\ti\nj"},
    {R"("say \"hi\" \\[now]")", R"(say "hi" \[now])"}, {R"(str(2):"%SystemRoot%\\x")", R"(%SystemRoot%\x)"},  // not expanded
    {"hex(1):41,00,\\\n  42,00,00,00", "AB"}, {"hex:01,02,ab,cd,ef", ""}, {"dword:000004d2", "1234"}, {"dword:fffffffe", "-2"},
    // At the edge of the 1024-byte buffer, counted in UTF-8 bytes with the terminating NUL.
    {'"' + std::string(1023, 'F') + '"', std::string(1023, 'F')}, {'"' + std::string(1024, 'T') + '"', ""},
    {'"' + Repeated(R"(\xe9)", 510) + R"(\x00e9a")", Repeated("\u00e9", 511) + "a"}, {'"' + Repeated(R"(\xe9)", 512) + '"', ""},
};

const std::string SystemReg = [] {
    std::string text = R"reg(WINE REGISTRY Version 2

[Software\\Quillmark Entertainment Company LLC\\Harrowmere Conquest\\1.0] 1795405119
#time=1dd7afc20c3c06e
@="default value"
"Game Path"="C:\\Games\\Harrowmere\\"
"S\xe9mantique"=dword:00000007
)reg";
    for (size_t i = 0; i < std::size(Values); ++i) text += "\"Z" + std::to_string(i) + "\"=" + Values[i].Data + "\n";
    return text + R"reg(
[Software\\Wow6432Node\\Quillmark Entertainment Company LLC\\Harrowmere Conquest\\1.0] 1795405021
"Game Path"="D:\\Wow\\"
"Only In Wow"="w"

[Software\\Wow6432Node\\Quillmark Entertainment Company LLC\\Harrowmere Conquest\\1.0\\Odd \[Key\] "q" \xe9] 1795405023
"Game Path"="C:\\Old\\"
)reg";
}();

const std::string GameKey = R"(SOFTWARE\Quillmark Entertainment Company LLC\Harrowmere Conquest\1.0)";
// A subkey in the 32-bit view alone, its name escaped in the file.
const std::string OddKey = R"(\Quillmark Entertainment Company LLC\Harrowmere Conquest\1.0\Odd [Key] "q" )" "\u00e9";

// Sets an environment variable (nullptr unsets it) for the life of the object.
struct ScopedVariable {
    const char* Name;
    std::optional<std::string> Old;
    ScopedVariable(const char* name, const char* value) : Name(name) {
        if (const char* old = std::getenv(name)) Old = old;
        value ? setenv(name, value, 1) : unsetenv(name);
    }
    ~ScopedVariable() { Old ? setenv(Name, Old->c_str(), 1) : unsetenv(Name); }
};

// A fresh folder that WINEPREFIX points at while the test runs.
struct RegKeysTest : testing::Test {
    TempDir Prefix;
    ScopedVariable PrefixVariable{"WINEPREFIX", Prefix.Path().c_str()};
};

std::string Read(std::string_view key, std::string_view name) { return ReadRegistryValue(HKEY_LOCAL_MACHINE, key, name); }

TEST_F(RegKeysTest, ValuesComeBackAsTheQueryReportsThem) {
    WriteFileText(Prefix / "system.reg", SystemReg);
    for (size_t i = 0; i < std::size(Values); ++i)
        EXPECT_EQ(Read(GameKey, "z" + std::to_string(i)), Values[i].Text) << Values[i].Data;
    const struct { std::string Key, Name, Text; } cases[] = {
        {GameKey, "game PATH", R"(D:\Wow\)"},  // both views hold it: the 32-bit one wins
        {GameKey, "Only In Wow", "w"},         // the 64-bit key holds other values, but not this one
        {GameKey, "", "default value"}, {GameKey, "S\u00e9mantique", "7"}, {GameKey, "Missing", ""},
        {"Software" + OddKey, "Game Path", R"(C:\Old\)"}, {"System" + OddKey, "Game Path", ""},
        {"SOFTWARE\\Wow6432Node" + OddKey, "Game Path", R"(C:\Old\)"}, {GameKey + R"(\Odd)", "Game Path", ""}};
    for (const auto& c : cases) EXPECT_EQ(Read(c.Key, c.Name), c.Text) << c.Key << " / " << c.Name;
}

TEST_F(RegKeysTest, EachRootHasItsFileInThePrefixFolder) {
    const struct { const char *Prefix, *Home, *Folder; } folders[] = {
        {"/p//", "/h", "/p"}, {"/", "/h", "/"}, {"", "/h/", "/h/.wine"}, {nullptr, "/", "/.wine"}, {nullptr, nullptr, ""}};
    for (const auto& c : folders) {
        const ScopedVariable prefix("WINEPREFIX", c.Prefix), home("HOME", c.Home);
        EXPECT_EQ(WinePrefixFolder(), c.Folder) << (c.Prefix ? c.Prefix : "(unset)");
    }
    for (std::string f : {"user", "system"}) WriteFileText(Prefix / f + ".reg", "[Software\\\\K]\n\"V\"=\"" + f + '"');
    EXPECT_EQ(ReadRegistryValue(HKEY_CURRENT_USER, R"(Software\K)", "V"), "user");
    EXPECT_EQ(ReadRegistryValue(0x80000003, R"(Software\K)", "V"), "");
    EXPECT_EQ(Read(R"(Software\K)", "V"), "system");
    fs::resize_file(Prefix / "system.reg", (256 << 20) + 1);  // sparse, so cheap
    EXPECT_EQ(Read(R"(Software\K)", "V"), "");  // over the size cap
}

TEST_F(RegKeysTest, DamagedFilesGiveNothingOrWhatIsReadable) {
    const std::string v = "[Software\\\\K]\n\"V\"=";  // then the data of V, up to the end of the file
    const std::pair<std::string, std::string_view> cases[] = {
        {"[Software\\\\K]\r\n\"V\"=\"ok\"\r\n", "ok"}, {"[Software\\\\K", ""}, {"[Software\\\\K]\n\"V", ""}, {v, ""},
        {"[Software\\\\K]\n[Software\\\\L]\n\"V\"=\"another key's\"", ""}, {"\"V\"=\"no key\"\n[Software\\\\K]", ""},
        {v + R"("unterminated)", ""}, {v + R"("lone \)", ""}, {v + R"("\x")", "x"}, {v + "hex(1):41,00,\\", ""},
        {v + "hex(2):41,00,4", ""}, {v + "hex(zz):00", ""}, {v + "str(1", ""},
        {v + "dword:", ""}, {v + "dword:1", "1"}, {v + std::string("\"a\xff\x80\"\n\0\0\xfe"sv), "a\u00ff\u0080"}};
    for (const auto& [text, value] : cases) {
        WriteFileText(Prefix / "system.reg", text);
        EXPECT_EQ(Read(R"(Software\K)", "V"), value) << text;
    }
}

TEST_F(RegKeysTest, WindowsPathsLandInTheDriveFolder) {
    const auto check = [](const std::vector<std::pair<const char*, std::string>>& cases) {
        for (const auto& [windows, path] : cases) EXPECT_EQ(LinuxPathOfWindowsPath(windows), path) << windows;
    };
    check({{R"(C:\Games\Foo\)", Prefix / "drive_c/Games/Foo/"}, {R"(c:\a b\x.drs)", Prefix / "drive_c/a b/x.drs"},
           {R"(C:\)", Prefix / "drive_c/"}, {R"(D:\Games)", ""}, {"C:", ""}, {"C:Games", ""}, {"C:/Games", ""},
           {R"(\\server\share)", ""}, {R"(1:\x)", ""}, {"", ""}});
    // Links in dosdevices take over, resolved.
    for (const char* folder : {"dosdevices", "elsewhere"}) fs::create_directories(Prefix / folder);
    for (auto [drive, target] : {std::pair{"c:", "../elsewhere"}, {"z:", "/"}, {"d:", "../missing"}})
        fs::create_directory_symlink(target, Prefix / "dosdevices/" + drive);
    const std::string elsewhere = fs::canonical(Prefix / "elsewhere").string();
    check({{R"(C:\Games\Foo\)", elsewhere + "/Games/Foo/"}, {R"(Z:\usr\share)", "/usr/share"}, {R"(Z:\)", "/"},
           {R"(D:\Games)", ""}});
}

}  // namespace
