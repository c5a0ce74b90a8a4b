#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/status.h"

class PO;

// The path objects of one policy directory.
//
// Threads: one thread at a time.
// Errors: operations return a status, 0 for success.
class PODB {
 public:
  // Takes one basename; the text is valid during the call only.
  using BasenameVisitor = std::function<void(std::string_view)>;

  PODB() = default;
  virtual ~PODB() = default;
  PODB(const PODB&) = delete;
  PODB& operator=(const PODB&) = delete;

  // Hands every basename to `visitor`, in byte order, in one pass that holds no list of them: a
  // directory may have millions. On failure some names may have been handed out already; what was
  // made of them is not to be used. An exception of the visitor passes through.
  virtual cr_status_t get_basenames(const BasenameVisitor& visitor) = 0;

  // The same for the basenames that do not begin with `prefix`: as cheap as these are few, however
  // many do. Of the others nothing is read, so that damage among them does not show.
  virtual cr_status_t get_basenames_without(std::string_view prefix,
                                            const BasenameVisitor& visitor) = 0;

  // Sets `names` to the basenames for which an SQL condition holds, in byte order: at most `limit`
  // of them (0: all) behind the first `offset`. Leaves `names` empty on failure. The condition is
  // part of the statement; whoever builds it quotes what it is built from.
  virtual cr_status_t get_basenames(std::vector<std::string>& names, const std::string& condition,
                                    unsigned offset, unsigned limit) = 0;

  // Fills `po` with the PO of that basename. k_status_db_no_such_po when there is none;
  // k_status_malformed when a column holds another type than its own, which a PO cannot carry.
  virtual cr_status_t get(const std::string& basename, PO& po) = 0;

  // Stores `po`, replacing a PO of the same basename.
  virtual cr_status_t put(const PO* po) = 0;

  // Stores `po` where none has its basename; k_status_handled, and nothing is stored, where one has.
  virtual cr_status_t put_new(const PO* po) = 0;

  // Removes the PO of that basename; k_status_db_no_such_po when there is none.
  virtual cr_status_t remove(const std::string& basename) = 0;

  // What happens between begin and commit is stored as one. A database opened for reading only is
  // seen in one state throughout. A transaction that is neither committed nor rolled back when the
  // object is destroyed is rolled back; so is one whose commit failed. A roll back where none is
  // open does nothing.
  virtual cr_status_t do_begin_transaction() = 0;
  virtual cr_status_t do_commit_transaction() = 0;
  virtual cr_status_t do_rollback_transaction() = 0;
};
