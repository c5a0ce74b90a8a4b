#include "report/fleet/extract.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <utility>
#include <vector>

namespace report::fleet {

namespace {

constexpr const char* k_too_large = "too large for a report";

// No key of a report has a blank, and the builder accepts none.
std::string length_key(const std::string& key) {
  return key + " length";
}

// Builds a value of a part of the events.
class Builder : public nlohmann::json_sax<Value> {
 public:
  Value take() { return std::move(m_root); }

  bool null() override { return add(nullptr); }
  bool boolean(bool value) override { return add(value); }
  bool number_integer(number_integer_t value) override { return add(value); }
  bool number_unsigned(number_unsigned_t value) override { return add(value); }
  bool number_float(number_float_t value, const string_t& /*text*/) override { return add(value); }
  bool string(string_t& value) override {
    if (count(value.size())) return true;
    put(std::move(value));
    return true;
  }
  bool binary(binary_t& /*value*/) override { return false; }  // not in JSON
  bool start_object(std::size_t /*elements*/) override { return open(Value::object()); }
  bool start_array(std::size_t /*elements*/) override { return open(Value::array()); }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }
  bool key(string_t& value) override {
    if (m_skipped != 0) return true;
    if (value.find(' ') != std::string::npos) throw std::runtime_error("not a report");
    m_bytes += value.size();
    m_open.back().key = std::move(value);
    return true;
  }
  bool parse_error(std::size_t position, const std::string& /*token*/,
                   const nlohmann::detail::exception& /*error*/) override {
    throw std::runtime_error("not JSON: byte " + std::to_string(position) + " is not expected");
  }

 private:
  struct Open {
    Value value;
    std::uint64_t elements = 0;
    std::string key = {};  // of the next member
  };

  bool is_full() {
    return !m_open.empty() && m_open.back().value.is_array() &&
           m_open.back().elements > k_kept_rows;
  }

  void require_few() {
    constexpr std::size_t k_max_values = 200000;
    constexpr std::size_t k_max_bytes = 16U << 20U;
    constexpr std::size_t k_max_depth = 32;
    if (++m_values > k_max_values || m_bytes > k_max_bytes || m_open.size() > k_max_depth)
      throw std::runtime_error(k_too_large);
  }

  // A member is found by a search through all of them.
  static void require_few_members(const Value& object) {
    constexpr std::size_t k_max_members = 1000;
    if (object.size() > k_max_members) throw std::runtime_error(k_too_large);
  }

  // Whether the value that begins, a string of so many bytes, is dropped.
  bool count(std::size_t bytes = 0) {
    if (m_skipped != 0) return true;
    if (!m_open.empty()) ++m_open.back().elements;
    if (is_full()) return true;
    m_bytes += bytes;
    require_few();
    return false;
  }

  bool add(Value value) {
    if (!count()) put(std::move(value));
    return true;
  }

  bool open(Value value) {
    if (count()) {
      ++m_skipped;
    } else {
      m_open.push_back({std::move(value)});
    }
    return true;
  }

  bool close() {
    if (m_skipped != 0) {
      --m_skipped;
      return true;
    }
    Open closed = std::move(m_open.back());
    m_open.pop_back();
    const bool is_cut = closed.value.is_array() && closed.elements > k_kept_rows;
    put(std::move(closed.value));
    const bool has_key = !m_open.empty() && m_open.back().value.is_object();
    if (is_cut && has_key) m_open.back().value[length_key(m_open.back().key)] = closed.elements;
    return true;
  }

  void put(Value value) {
    if (m_open.empty()) {
      m_root = std::move(value);
    } else if (m_open.back().value.is_array()) {
      m_open.back().value.push_back(std::move(value));
    } else {
      require_few_members(m_open.back().value);
      m_open.back().value[m_open.back().key] = std::move(value);
    }
  }

  Value m_root = unknown();
  std::vector<Open> m_open;
  std::uint64_t m_skipped = 0;  // how deep the parser is in what is dropped
  std::size_t m_values = 0;
  std::size_t m_bytes = 0;
};

}  // namespace

Value extract(const std::string& file) {
  std::vector<char> buffer(1U << 16U);
  std::ifstream in;
  in.rdbuf()->pubsetbuf(buffer.data(), static_cast<std::streamsize>(buffer.size()));
  in.open(file, std::ios::binary);
  if (!in) throw std::runtime_error(std::strerror(errno));
  if (in.peek() == std::ifstream::traits_type::eof())
    throw std::runtime_error("empty, or not a file");
  Builder builder;
  Value::sax_parse(in, &builder);
  Value value = builder.take();
  if (!value.is_object()) throw std::runtime_error("not a report");
  return value;
}

const Value& part(const Value& object, const char* key) {
  static const Value k_none;
  const auto found = object.is_object() ? object.find(key) : object.end();
  return found == object.end() ? k_none : *found;
}

std::string text(const Value& object, const char* key) {
  const Value& value = part(object, key);
  return value.is_string() ? value.get<std::string>() : "";
}

std::optional<std::int64_t> number(const Value& object, const char* key) {
  const Value& value = part(object, key);
  if (!value.is_number_integer()) return std::nullopt;
  constexpr auto k_most = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (value.is_number_unsigned() && value.get<std::uint64_t>() > k_most) return std::nullopt;
  return value.get<std::int64_t>();
}

std::optional<std::uint64_t> count(const Value& object, const char* key) {
  const auto value = number(object, key);
  return value && *value >= 0 ? std::optional<std::uint64_t>(*value) : std::nullopt;
}

std::optional<bool> truth(const Value& object, const char* key) {
  const Value& value = part(object, key);
  return value.is_boolean() ? std::optional(value.get<bool>()) : std::nullopt;
}

std::uint64_t length_of(const Value& object, const char* key) {
  return count(object, length_key(key).c_str()).value_or(part(object, key).size());
}

}  // namespace report::fleet
