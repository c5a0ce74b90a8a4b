#include "platform/statement_rows.h"

#include <SQLiteCpp/SQLiteCpp.h>

namespace platform {

std::string_view text_of(const SQLite::Column& column) {
  const char* text = column.getText();
  return {text, static_cast<std::size_t>(column.getBytes())};
}

void bind_end(SQLite::Statement& statement, int index, const std::string& text) {
  if (text.empty()) {
    statement.bindNoCopy(index, text.c_str(), 0);  // a blob: these come behind all texts
  } else {
    statement.bindNoCopy(index, text);
  }
}

void step_through(SQLite::Statement& statement, const SQLitePODB::BasenameVisitor* rows) {
  if (!statement.executeStep()) return;
  const SQLite::Column first = statement.getColumn(0);  // of whatever row the statement is on
  do {
    if (rows != nullptr) (*rows)(text_of(first));
  } while (statement.executeStep());
}

void step_up_to(std::string_view end, SQLite::Statement& statement,
                const SQLitePODB::BasenameVisitor& rows) {
  while (statement.executeStep()) {
    const SQLite::Column first = statement.getColumn(0);
    if (!first.isText() || text_of(first) >= end) return;
    rows(text_of(first));
  }
}

}  // namespace platform
