#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>

#include "shell/RegKeys.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_view_literals;

// Lines of a prefix's system.reg as Wine wrote them after "reg add" and "reg import".
const std::string SystemReg = R"reg(WINE REGISTRY Version 2
;; All keys relative to REGISTRY\\Machine

#arch=win64

[Software\\Odd \[Key\] "q" \xe9\\Sub] 1795404891
#time=1dd7afb98ec2a50
"v"="x"

[Software\\Quillmark Entertainment Company LLC\\Harrowmere Conquest\\1.0] 1795405119
#time=1dd7afc20c3c06e
@="default value"
"Accent"="caf\xe9 \x6f22\x5b57"
"Bin"=hex:01,02,ab,cd,ef
"Ctl"="a\1b\0017\ec\rd\ve\af\bg\fh"
"Dw80"=dword:80000000
"DwordHex"=dword:12345678
"DwordShort"=hex(4):78,56
"Emoji2"="x\xd83d\xde00y"
"Empty"=""
"Expand"=str(2):"%SystemRoot%\\x"
"Game Path"="C:\\Games\\Harrowmere\\"
"HexDigitAfter"="\xe9\0001\0z"
"HexNext"="\x00e9a \x00e91 \xe9z"
"High"=dword:fffffffe
"InnerNul"="a\0b"
"LongBin"=hex:0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,\
  0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,\
  0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a,0a
"Multi"=str(7):"one\0two\0"
"Quote"="say \\\"hi\\\" now"
"QWord"=hex(b):05,00,00,00,00,00,00,00
"RealQuote"="say \"hi\" [now]"
"Small"=dword:000004d2
"S\xe9mantique"=dword:00000007
"Tab"="a\tb"

[Software\\Quillmark Entertainment Company LLC\\Harrowmere Conquest\\1.0\\Deeper] 1795404945
#time=1dd7afbb914b18a
"Game Path"="Z:\\deep"

[Software\\Wow6432Node\\Quillmark Entertainment Company LLC\\Harrowmere Conquest\\1.0] 1795405021
#time=1dd7afbe659b316
"Game Path"="D:\\Wow\\"
"Only In Wow"="w"

[Software\\Wow6432Node\\Sable Works\\Old Game] 1795405023
#time=1dd7afbe80b9e4a
"Game Path"="C:\\Old\\"

)reg";

const std::string UserReg = R"reg(WINE REGISTRY Version 2
;; All keys relative to REGISTRY\\User\\S-1-5-21-0-0-0-1000

[Software\\Quillmark Entertainment Company LLC\\Harrowmere Conquest\\1.0] 1795404893
#time=1dd7afb9a7998ee
"Game Path"="E:\\User\\"
)reg";

const std::string GameKey = R"(SOFTWARE\Quillmark Entertainment Company LLC\Harrowmere Conquest\1.0)";

// Sets an environment variable (nullptr unsets it) for the life of the object.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const char* value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        value ? setenv(name, value, 1) : unsetenv(name);
    }
    ~ScopedVariable() { old_ ? setenv(name_, old_->c_str(), 1) : unsetenv(name_); }

private:
    const char* name_;
    std::optional<std::string> old_;
};

// A fresh folder that WINEPREFIX points at while the test runs.
class RegKeysTest : public testing::Test {
protected:
    fs::path Prefix = fs::temp_directory_path() / ("brindle-regkeys-" + std::to_string(getpid()) + "-" +
                                                   testing::UnitTest::GetInstance()->current_test_info()->name());
    ScopedVariable PrefixVariable{"WINEPREFIX", Prefix.c_str()};

    void SetUp() override { fs::create_directories(Prefix / "dosdevices"); }
    void TearDown() override { fs::remove_all(Prefix); }
    void WriteFile(const fs::path& name, std::string_view text) {
        std::ofstream(Prefix / name, std::ios::binary) << text;
    }
    std::string Read(const std::string& key, const char* name) {
        return ReadRegistryValue(HKEY_LOCAL_MACHINE, key, name);
    }
};

std::string Repeated(std::string_view piece, int count) {
    std::string text;
    while (count-- > 0) text += piece;
    return text;
}

TEST_F(RegKeysTest, ValuesComeBackAsTheQueryReportsThem) {
    // Values at the edge of the 1024-byte buffer, written the way Wine writes them.
    WriteFile("system.reg", SystemReg + "[Software\\\\Long] 1\n\"Fits\"=\"" + Repeated("F", 1023) + "\"\n\"Over\"=\"" +
                                Repeated("T", 1024) + "\"\n\"Utf8Fits\"=\"" + Repeated(R"(\xe9)", 510) +
                                R"(\x00e9a")" + "\n\"Utf8Over\"=\"" + Repeated(R"(\xe9)", 512) + "\"\n");
    const std::string longKey = R"(Software\Long)", wowKey = R"(Software\Sable Works\Old Game)";
    const struct { std::string Key; const char* Name; std::string Text; } cases[] = {
        {GameKey, "game PATH", R"(D:\Wow\)"},  // both views hold it: the 32-bit one wins
        {GameKey, "", "default value"},
        {GameKey, "Expand", R"(%SystemRoot%\x)"},  // not expanded
        {GameKey, "Quote", R"(say \"hi\" now)"}, {GameKey, "RealQuote", R"(say "hi" [now])"},
        {GameKey, "Accent", "caf\u00e9 \u6f22\u5b57"}, {GameKey, "HexNext", "\u00e9a \u00e91 \u00e9z"},
        {GameKey, "Emoji2", "x\U0001F600y"}, {GameKey, "Ctl", "a\x01" "b\x01" "7\x1b" "c\rd\ve\af\bg\fh"},
        {GameKey, "InnerNul", "a"}, {GameKey, "HexDigitAfter", "\u00e9"},
        {GameKey, "Small", "1234"}, {GameKey, "High", "-2"}, {GameKey, "Dw80", "-2147483648"},
        {GameKey, "DwordHex", "305419896"}, {GameKey, "S\u00e9mantique", "7"}, {GameKey, "DwordShort", ""},
        {GameKey, "LongBin", ""}, {GameKey, "Multi", ""}, {GameKey, "QWord", ""}, {GameKey, "Missing", ""},
        {GameKey, "Only In Wow", "w"},  // the key holds other values, but not this one
        {GameKey + R"(\Deeper)", "Game Path", R"(Z:\deep)"}, {GameKey + R"(\Deep)", "Game Path", ""},
        {"Software\\Odd [Key] \"q\" \u00e9\\Sub", "v", "x"}, {wowKey, "Game Path", R"(C:\Old\)"},
        {R"(SOFTWARE\Wow6432Node\Sable Works\Old Game)", "Game Path", R"(C:\Old\)"},
        {R"(System\Sable Works\Old Game)", "Game Path", ""},
        {longKey, "Fits", Repeated("F", 1023)}, {longKey, "Over", ""},
        {longKey, "Utf8Fits", Repeated("\u00e9", 511) + "a"}, {longKey, "Utf8Over", ""},
    };
    for (const auto& c : cases) EXPECT_EQ(Read(c.Key, c.Name), c.Text) << c.Key << " / " << c.Name;
}

TEST_F(RegKeysTest, EachRootHasItsFile) {
    WriteFile("user.reg", UserReg);
    EXPECT_EQ(ReadRegistryValue(HKEY_CURRENT_USER, GameKey, "Game Path"), R"(E:\User\)");
    EXPECT_EQ(ReadRegistryValue(0x80000003, GameKey, "Game Path"), "");
    EXPECT_EQ(Read(GameKey, "Game Path"), "");  // no system.reg
    fs::create_directory(Prefix / ".wine");
    WriteFile(".wine/system.reg", SystemReg);
    const ScopedVariable noPrefix("WINEPREFIX", ""), home("HOME", Prefix.c_str());
    EXPECT_EQ(Read(GameKey, "Game Path"), R"(D:\Wow\)");
    fs::resize_file(Prefix / ".wine/system.reg", (256 << 20) + 1);  // sparse, so cheap
    EXPECT_EQ(Read(GameKey, "Game Path"), "");  // over the size cap
}

TEST_F(RegKeysTest, DamagedFilesGiveNothingOrWhatIsReadable) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"[Software\\\\K]\r\n\"V\"=\"ok\"\r\n", "ok"}, {"[Software\\\\K", ""}, {"[Software\\\\K]\n\"V", ""},
        {"[Software\\\\K]\n\"V\"=", ""}, {"[Software\\\\K]\n\"V\"=\"unterminated", ""},
        {"[Software\\\\K]\n\"V\"=\"lone \\", ""}, {"[Software\\\\K]\n\"V\"=\"\\x", ""},
        {"[Software\\\\K]\n\"V\"=\"\\x\"", "x"}, {"[Software\\\\K]\n\"V\"=hex(1):41,00,\\\n  42,00,00,00\n", "AB"},
        {"[Software\\\\K]\n\"V\"=hex(2):41,00,42,00", "AB"}, {"[Software\\\\K]\n\"V\"=hex(1):41,00,\\", ""},
        {"[Software\\\\K]\n\"V\"=hex(2):41,00,4", ""}, {"[Software\\\\K]\n\"V\"=hex(zz):00", ""},
        {"[Software\\\\K]\n\"V\"=str(1", ""}, {"[Software\\\\K]\n\"V\"=dword:", ""},
        {"[Software\\\\K]\n\"V\"=dword:1", "1"}, {"[Software\\\\K]\n\"V\"=\"a\xff\x80\"\n\0\0\xfe"sv, "a\u00ff\u0080"},
        {"[Software\\\\K]\n[Software\\\\L]\n\"V\"=\"another key's\"", ""}, {"\"V\"=\"no key\"\n[Software\\\\K]", ""},
    };
    for (const auto& [text, value] : cases) {
        WriteFile("system.reg", text);
        EXPECT_EQ(Read(R"(Software\K)", "V"), value) << text;
    }
}

TEST(RegKeysPrefixTest, PrefixFolderComesFromTheEnvironment) {
    const struct { const char *Prefix, *Home, *Folder; } cases[] = {
        {"/p/q//", "/h", "/p/q"}, {"/", "/h", "/"}, {"", "/h/", "/h/.wine"}, {nullptr, "/", "/.wine"},
        {nullptr, nullptr, ""},
    };
    for (const auto& c : cases) {
        const ScopedVariable prefix("WINEPREFIX", c.Prefix), home("HOME", c.Home);
        EXPECT_EQ(WinePrefixFolder(), c.Folder) << (c.Prefix ? c.Prefix : "(unset)");
    }
}

TEST_F(RegKeysTest, WindowsPathsLandInTheDriveFolder) {
    const std::string driveC = Prefix.string() + "/drive_c";
    for (const auto& [windowsPath, linuxPath] : std::initializer_list<std::pair<const char*, std::string>>{
             {R"(C:\Games\Foo\)", driveC + "/Games/Foo/"}, {R"(c:\a b\x.drs)", driveC + "/a b/x.drs"},
             {R"(C:\)", driveC + "/"}, {R"(D:\Games)", ""}, {"C:", ""}, {"C:Games", ""}, {"C:/Games", ""},
             {R"(\\server\share)", ""}, {R"(1:\x)", ""}, {"", ""}})
        EXPECT_EQ(LinuxPathOfWindowsPath(windowsPath), linuxPath) << windowsPath;

    fs::create_directories(Prefix / "elsewhere");
    fs::create_directory_symlink("../elsewhere", Prefix / "dosdevices/c:");
    fs::create_directory_symlink("/", Prefix / "dosdevices/z:");
    fs::create_directory_symlink("../missing", Prefix / "dosdevices/d:");
    const std::string elsewhere = fs::canonical(Prefix / "elsewhere").string();
    for (const auto& [windowsPath, linuxPath] : std::initializer_list<std::pair<const char*, std::string>>{
             {R"(C:\Games\Foo\)", elsewhere + "/Games/Foo/"}, {R"(Z:\usr\share)", "/usr/share"}, {R"(Z:\)", "/"},
             {R"(D:\Games)", ""}})
        EXPECT_EQ(LinuxPathOfWindowsPath(windowsPath), linuxPath) << windowsPath;
}

}  // namespace
