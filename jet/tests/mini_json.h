// A small JSON reader for tests that compare JSON Lines from different readers.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace jettest {

struct Json {
    enum Kind { Null, Bool, Number, String, Array, Object } kind = Null;
    bool b = false;
    double num = 0;
    std::string numText;  // the number as written
    std::string str;
    std::vector<Json> arr;
    std::vector<std::pair<std::string, Json>> obj;

    const Json* get(std::string_view key) const {
        for (const auto& [k, v] : obj)
            if (k == key) return &v;
        return nullptr;
    }
    const Json& at(std::string_view key) const {
        if (const Json* v = get(key)) return *v;
        throw std::runtime_error("JSON: no member " + std::string(key));
    }
};

class JsonParser {
  public:
    explicit JsonParser(std::string_view text) : s_(text) {}

    Json parse() {
        Json v = value();
        ws();
        if (i_ != s_.size()) fail("trailing text");
        return v;
    }

  private:
    [[noreturn]] void fail(const char* what) const {
        throw std::runtime_error(std::string("JSON: ") + what + " at " + std::to_string(i_));
    }
    void ws() {
        while (i_ < s_.size() && (s_[i_] == ' ' || s_[i_] == '\t' || s_[i_] == '\r' || s_[i_] == '\n')) ++i_;
    }
    bool eat(std::string_view lit) {
        if (s_.substr(i_, lit.size()) == lit) {
            i_ += lit.size();
            return true;
        }
        return false;
    }
    static void putUtf8(std::string& out, std::uint32_t cp) {
        if (cp < 0x80) {
            out.push_back(static_cast<char>(cp));
        } else if (cp < 0x800) {
            out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
            out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        } else if (cp < 0x10000) {
            out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
            out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        } else {
            out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
            out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        }
    }
    std::uint32_t hex4() {
        if (i_ + 4 > s_.size()) fail("short \\u escape");
        std::uint32_t v = std::stoul(std::string(s_.substr(i_, 4)), nullptr, 16);
        i_ += 4;
        return v;
    }
    std::string string() {
        if (s_[i_] != '"') fail("expected string");
        ++i_;
        std::string out;
        while (i_ < s_.size() && s_[i_] != '"') {
            char c = s_[i_++];
            if (c != '\\') {
                out.push_back(c);
                continue;
            }
            if (i_ >= s_.size()) fail("bad escape");
            char e = s_[i_++];
            switch (e) {
                case 'n':
                    out.push_back('\n');
                    break;
                case 'r':
                    out.push_back('\r');
                    break;
                case 't':
                    out.push_back('\t');
                    break;
                case 'b':
                    out.push_back('\b');
                    break;
                case 'f':
                    out.push_back('\f');
                    break;
                case 'u': {
                    std::uint32_t cp = hex4();
                    if (cp >= 0xD800 && cp <= 0xDBFF && s_.substr(i_, 2) == "\\u") {
                        i_ += 2;
                        std::uint32_t lo = hex4();
                        cp = 0x10000 + ((cp - 0xD800) << 10) + (lo - 0xDC00);
                    }
                    putUtf8(out, cp);
                    break;
                }
                default:
                    out.push_back(e);
            }
        }
        if (i_ >= s_.size()) fail("unterminated string");
        ++i_;
        return out;
    }
    Json value() {
        ws();
        if (i_ >= s_.size()) fail("unexpected end");
        Json v;
        char c = s_[i_];
        if (c == '{') {
            v.kind = Json::Object;
            ++i_;
            ws();
            if (s_[i_] == '}') {
                ++i_;
                return v;
            }
            for (;;) {
                ws();
                std::string k = string();
                ws();
                if (s_[i_++] != ':') fail("expected :");
                v.obj.emplace_back(std::move(k), value());
                ws();
                if (s_[i_] == ',') {
                    ++i_;
                    continue;
                }
                if (s_[i_] == '}') {
                    ++i_;
                    return v;
                }
                fail("expected , or }");
            }
        }
        if (c == '[') {
            v.kind = Json::Array;
            ++i_;
            ws();
            if (s_[i_] == ']') {
                ++i_;
                return v;
            }
            for (;;) {
                v.arr.push_back(value());
                ws();
                if (s_[i_] == ',') {
                    ++i_;
                    continue;
                }
                if (s_[i_] == ']') {
                    ++i_;
                    return v;
                }
                fail("expected , or ]");
            }
        }
        if (c == '"') {
            v.kind = Json::String;
            v.str = string();
            return v;
        }
        if (eat("null")) return v;
        if (eat("true")) {
            v.kind = Json::Bool;
            v.b = true;
            return v;
        }
        if (eat("false")) {
            v.kind = Json::Bool;
            return v;
        }
        std::size_t start = i_;
        while (i_ < s_.size() && std::string_view("+-0123456789.eE").find(s_[i_]) != std::string_view::npos)
            ++i_;
        if (start == i_) fail("unexpected character");
        v.kind = Json::Number;
        v.numText = std::string(s_.substr(start, i_ - start));
        v.num = std::stod(v.numText);
        return v;
    }

    std::string_view s_;
    std::size_t i_ = 0;
};

inline Json parseJson(std::string_view text) {
    return JsonParser(text).parse();
}

}  // namespace jettest
