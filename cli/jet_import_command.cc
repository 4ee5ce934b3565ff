// `qxtest-cli jet import FILE TABLE`: reads what `jet export` writes (JSON Lines: the columns line,
// then one array per row) from standard input and inserts every row into TABLE in one
// transaction, all or nothing. Columns are matched by name; values take the forms `jet export`
// gives them (numbers as written, Currency and Decimal as exact digits, dates as
// "YYYY-MM-DD HH:MM:SS", GUIDs in braces, Binary and OLE as base64). Prints {"rowsAffected":N},
// or the engine's error line and exit 1 with the file unchanged. Input that is not such JSON
// gives 3134 "Syntax error in INSERT INTO statement." naming the line.
#include <algorithm>
#include <condition_variable>
#include <deque>
#include <exception>
#include <istream>
#include <mutex>
#include <optional>
#include <ostream>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "cli/command.h"
#include "cli/jet_words.h"
#include "jet/database.h"
#include "jet/schema.h"
#include "jet/sql/convert.h"
#include "jet/table.h"
#include "output/json_export.h"

namespace qx::cli {
namespace {

// The input's lines, read in large blocks: a line at a time through the synchronised standard
// input costs a library call per character, which a large import notices.
class LineReader {
  public:
    explicit LineReader(std::istream& in) : buf_(in.rdbuf()) {}
    bool next(std::string& line) {
        for (;;) {
            const std::size_t nl = data_.find('\n', pos_);
            if (nl != std::string::npos) {
                line.assign(data_, pos_, nl - pos_);
                pos_ = nl + 1;
                return true;
            }
            if (ended_) {
                if (pos_ >= data_.size()) return false;
                line.assign(data_, pos_, std::string::npos);
                pos_ = data_.size();
                return true;
            }
            data_.erase(0, pos_);
            pos_ = 0;
            const std::size_t had = data_.size();
            data_.resize(had + kBlock);
            const std::streamsize got = buf_ ? buf_->sgetn(data_.data() + had, kBlock) : 0;
            data_.resize(had + static_cast<std::size_t>(std::max<std::streamsize>(got, 0)));
            if (got <= 0) ended_ = true;
        }
    }

  private:
    static constexpr std::streamsize kBlock = 1 << 20;
    std::streambuf* buf_;
    std::string data_;
    std::size_t pos_ = 0;
    bool ended_ = false;
};

struct JsonValue {
    enum class Kind { Null, Boolean, Number, String, Array, Object } kind = Kind::Null;
    bool boolean = false;
    std::string text;  // Number as written, String decoded
    std::vector<JsonValue> items;
    std::vector<std::pair<std::string, JsonValue>> members;
};

// A small reader for the JSON that `jet export` writes (one value per line).
class JsonReader {
  public:
    explicit JsonReader(const std::string& s) : s_(s) {}
    std::optional<JsonValue> document() {
        JsonValue v;
        if (!value(v, 0)) return std::nullopt;
        space();
        if (i_ != s_.size()) return std::nullopt;
        return v;
    }

    // A row line: an array of scalars. `items` keeps its elements from row to row, so that their
    // strings keep their buffers; `count` says how many this row has.
    bool row(std::vector<JsonValue>& items, std::size_t& count) {
        count = 0;
        space();
        if (i_ >= s_.size() || s_[i_] != '[') return false;
        ++i_;
        space();
        if (i_ < s_.size() && s_[i_] == ']') {
            ++i_;
        } else {
            for (;;) {
                if (count == items.size()) items.emplace_back();
                JsonValue& v = items[count++];
                space();
                if (!scalar(v)) return false;
                space();
                if (i_ >= s_.size()) return false;
                const char d = s_[i_++];
                if (d == ',') continue;
                if (d != ']') return false;
                break;
            }
        }
        space();
        return i_ == s_.size();
    }

  private:
    void space() {
        while (i_ < s_.size() && (s_[i_] == ' ' || s_[i_] == '\t' || s_[i_] == '\r')) ++i_;
    }
    bool literal(const char* word) {
        std::size_t n = std::char_traits<char>::length(word);
        if (s_.compare(i_, n, word) != 0) return false;
        i_ += n;
        return true;
    }
    bool string(std::string& out) {
        auto text = jet::json::readString(s_, i_);
        if (!text) return false;
        out = std::move(*text);
        return true;
    }
    // null, true, false, a string or a number at the current position (no space before it).
    bool scalar(JsonValue& v) {
        v.kind = JsonValue::Kind::Null;
        if (i_ >= s_.size()) return false;
        const char c = s_[i_];
        if (c == 'n') return literal("null");
        if (c == 't' || c == 'f') {
            v.kind = JsonValue::Kind::Boolean;
            v.boolean = c == 't';
            return literal(c == 't' ? "true" : "false");
        }
        if (c == '"') {
            v.kind = JsonValue::Kind::String;
            return string(v.text);
        }
        const std::size_t start = i_;
        while (i_ < s_.size() && (std::isdigit(static_cast<unsigned char>(s_[i_])) || s_[i_] == '-' ||
                                  s_[i_] == '+' || s_[i_] == '.' || s_[i_] == 'e' || s_[i_] == 'E'))
            ++i_;
        if (i_ == start) return false;
        v.kind = JsonValue::Kind::Number;
        v.text.assign(s_, start, i_ - start);
        return true;
    }
    bool value(JsonValue& v, int depth) {
        if (depth > 4) return false;
        space();
        if (i_ >= s_.size()) return false;
        const char c = s_[i_];
        if (c == '[' || c == '{') {
            bool object = c == '{';
            v.kind = object ? JsonValue::Kind::Object : JsonValue::Kind::Array;
            ++i_;
            space();
            if (i_ < s_.size() && s_[i_] == (object ? '}' : ']')) {
                ++i_;
                return true;
            }
            while (true) {
                std::string key;
                if (object) {
                    space();
                    if (!string(key)) return false;
                    space();
                    if (i_ >= s_.size() || s_[i_++] != ':') return false;
                }
                JsonValue item;
                if (!value(item, depth + 1)) return false;
                if (object)
                    v.members.emplace_back(std::move(key), std::move(item));
                else
                    v.items.push_back(std::move(item));
                space();
                if (i_ >= s_.size()) return false;
                char d = s_[i_++];
                if (d == ',') continue;
                return d == (object ? '}' : ']');
            }
        }
        return scalar(v);
    }

    const std::string& s_;
    std::size_t i_ = 0;
};

std::optional<jet::Bytes> fromBase64(const std::string& s) {
    jet::Bytes out;
    std::uint32_t acc = 0;
    int bits = 0;
    for (char c : s) {
        int v;
        if (c >= 'A' && c <= 'Z')
            v = c - 'A';
        else if (c >= 'a' && c <= 'z')
            v = c - 'a' + 26;
        else if (c >= '0' && c <= '9')
            v = c - '0' + 52;
        else if (c == '+')
            v = 62;
        else if (c == '/')
            v = 63;
        else if (c == '=')
            break;
        else
            return std::nullopt;
        acc = (acc << 6) | static_cast<std::uint32_t>(v);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            out.push_back(static_cast<std::uint8_t>(acc >> bits));
        }
    }
    return out;
}

// Rows on their way from the thread that reads and converts the input to the one that writes
// the database, so that the two halves of an import run side by side on two processors. Rows
// travel in batches (one hand-over per batch, not per row); at most kBatches are in the pipe,
// so memory does not grow with the input. A batch's rows are swapped, not copied, into the
// writer's row, and the emptied rows travel back for reuse.
class RowPipe {
  public:
    using Row = std::vector<jet::Value>;
    using Batch = std::vector<Row>;
    static constexpr std::size_t kBatchRows = 256;
    static constexpr std::size_t kBatches = 4;

    explicit RowPipe(std::size_t columns) {
        for (std::size_t i = 0; i < kBatches; ++i) spare_.emplace_back(kBatchRows, Row(columns));
    }

    // Reader side. An empty batch of kBatchRows rows of Nulls to fill, or false when the writer
    // has stopped (it failed; its error is what the import reports).
    bool take(Batch& batch) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [this] { return writerStopped_ || !spare_.empty(); });
        if (writerStopped_) return false;
        batch = std::move(spare_.front());
        spare_.pop_front();
        return true;
    }
    // Hands over the first `rows` rows of `batch`; false when the writer has stopped.
    bool send(Batch&& batch, std::size_t rows) {
        std::lock_guard<std::mutex> lock(mutex_);
        if (writerStopped_) return false;
        full_.push_back({std::move(batch), rows});
        changed_.notify_all();
        return true;
    }
    // No more rows: the input ended (`failure` null) or reading it failed with `failure`, which
    // the writer raises after the rows before it, inside its transaction.
    void close(std::exception_ptr failure) {
        std::lock_guard<std::mutex> lock(mutex_);
        closed_ = true;
        failure_ = std::move(failure);
        changed_.notify_all();
    }

    // Writer side: the next row into `row` (whose Nulls go back with the batch), or false at
    // the end; rethrows the reader's failure.
    bool next(Row& row) {
        // A loop: the batch sent when the input ends on a batch's boundary holds no rows.
        while (at_ == current_.rows) {
            std::unique_lock<std::mutex> lock(mutex_);
            if (current_.rows != 0 || !current_.batch.empty()) spare_.push_back(std::move(current_.batch));
            current_ = {};
            changed_.notify_all();
            changed_.wait(lock, [this] { return closed_ || !full_.empty(); });
            if (full_.empty()) {
                if (failure_) std::rethrow_exception(failure_);
                return false;
            }
            current_ = std::move(full_.front());
            full_.pop_front();
            at_ = 0;
        }
        row.swap(current_.batch[at_++]);
        return true;
    }
    // The writer has finished, well or not: the reader stops at its next hand-over.
    void writerStopped() {
        std::lock_guard<std::mutex> lock(mutex_);
        writerStopped_ = true;
        changed_.notify_all();
    }

  private:
    struct Sent {
        Batch batch;
        std::size_t rows = 0;
    };
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Batch> spare_;
    std::deque<Sent> full_;
    bool closed_ = false;
    bool writerStopped_ = false;
    std::exception_ptr failure_;
    Sent current_;  // writer's own
    std::size_t at_ = 0;
};

jet::Error badLine(std::size_t line) {
    return jet::Error(
        3134, "Syntax error in INSERT INTO statement. (line " + std::to_string(line) + " of the input)");
}

int runImport(Invocation& inv) {
    if (inv.args.size() != 2)
        return printUsageError(inv, "jet import FILE TABLE  (JSON Lines of jet export on standard input)");
    try {
        jet::Database db = openForChange(inv, inv.args[0]);
        if (!db.hasTable(inv.args[1])) throw jet::Error::tableNotFound(inv.args[1]);
        jet::Table table = db.openTable(inv.args[1]);
        const auto& cols = table.columns();
        std::string line;
        std::size_t lineNo = 0;
        LineReader input(inv.in);
        // The columns line: where each value of a row goes.
        std::vector<std::size_t> target;
        while (input.next(line)) {
            ++lineNo;
            if (line.empty()) continue;
            auto doc = JsonReader(line).document();
            if (!doc || doc->kind != JsonValue::Kind::Object) throw badLine(lineNo);
            for (const auto& [key, value] : doc->members) {
                if (key != "columns" || value.kind != JsonValue::Kind::Array) continue;
                for (const auto& c : value.items) {
                    std::string name;
                    for (const auto& [k, v] : c.members)
                        if (k == "name") name = v.text;
                    int p = table.findColumn(name);
                    if (p < 0)
                        throw jet::Error(
                            3127, "The INSERT INTO statement contains the following unknown field name: '" +
                                      name +
                                      "'.  Make sure you have typed the name correctly, and try "
                                      "the operation again.");
                    target.push_back(static_cast<std::size_t>(p));
                }
            }
            break;
        }
        if (target.empty()) throw badLine(lineNo);
        // Kept from row to row with their buffers: a row costs no allocation it does not need.
        std::vector<JsonValue> items;
        jet::sql::IncomingValue lit;
        // One input line into `row` (Nulls in every column the input does not name); false at the
        // end of the input.
        auto readRow = [&](std::vector<jet::Value>& row) {
            while (input.next(line)) {
                ++lineNo;
                if (line.empty()) continue;
                std::size_t count = 0;
                if (!JsonReader(line).row(items, count) || count != target.size()) throw badLine(lineNo);
                for (std::size_t i = 0; i < target.size(); ++i) {
                    const jet::Column& c = cols[target[i]];
                    JsonValue& v = items[i];
                    lit.kind = jet::sql::IncomingValue::Kind::Null;
                    switch (v.kind) {
                        case JsonValue::Kind::Null:
                            break;
                        case JsonValue::Kind::Boolean:
                            lit.kind = jet::sql::IncomingValue::Kind::Boolean;
                            lit.boolean = v.boolean;
                            break;
                        case JsonValue::Kind::Number:
                            lit.kind = jet::sql::IncomingValue::Kind::Number;
                            lit.text.swap(v.text);
                            break;
                        case JsonValue::Kind::String:
                            if (c.type == jet::ColumnType::Binary || c.type == jet::ColumnType::OLE ||
                                c.type == jet::ColumnType::Unknown) {
                                auto bytes = fromBase64(v.text);
                                if (!bytes) throw badLine(lineNo);
                                lit.kind = jet::sql::IncomingValue::Kind::Bytes;
                                lit.bytes = std::move(*bytes);
                            } else {
                                lit.kind = jet::sql::IncomingValue::Kind::Text;
                                lit.text.swap(v.text);
                            }
                            break;
                        default:
                            throw badLine(lineNo);
                    }
                    row[target[i]] = jet::sql::convertForColumn(c, lit);
                }
                return true;
            }
            return false;
        };
        // The database is written on a thread of its own while this one reads and converts the
        // input (the columns above are only read from here on). Errors come out in input order:
        // a bad line after a duplicate key still reports the duplicate, as one thread would.
        RowPipe pipe(cols.size());
        std::uint64_t rows = 0;
        std::exception_ptr writeFailure;
        const std::string tableName = table.name();
        std::thread writer;
        try {
            writer = std::thread([&] {
                try {
                    rows = jet::insertRows(db, tableName,
                                           [&](std::vector<jet::Value>& row) { return pipe.next(row); });
                } catch (...) {
                    writeFailure = std::current_exception();
                }
                pipe.writerStopped();
            });
        } catch (const std::system_error&) {
            // No second thread to be had: one thread does both, as it always could.
            return printRowsAffected(inv, jet::insertRows(db, tableName, readRow));
        }
        std::exception_ptr readFailure;
        try {
            RowPipe::Batch batch;
            bool more = true;
            while (more && pipe.take(batch)) {
                std::size_t filled = 0;
                while (filled < batch.size() && (more = readRow(batch[filled]))) ++filled;
                if (!pipe.send(std::move(batch), filled)) break;
            }
        } catch (...) {
            readFailure = std::current_exception();
        }
        pipe.close(readFailure);
        writer.join();
        if (writeFailure) std::rethrow_exception(writeFailure);
        return printRowsAffected(inv, rows);
    } catch (const jet::Error& e) {
        return printEngineError(inv, e);
    }
}

const CommandRegistration registration{Command{
    "jet import", "jet import FILE TABLE  (JSON Lines of jet export on stdin; one transaction)", runImport}};

}  // namespace
}  // namespace qx::cli
