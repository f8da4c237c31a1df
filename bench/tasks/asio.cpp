#include "bench/tasks/rows.h"
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>

namespace bench {
namespace {

class Pool {
 public:
  explicit Pool(unsigned workers) : pool_(workers) {}
  void Insert(void (*work)()) { boost::asio::post(pool_, work); }
  void Finish() { pool_.join(); }

 private:
  boost::asio::thread_pool pool_;
};

const bool registered = (AddTaskRows<Pool>("boost::asio::thread_pool"), true);

}  // namespace
}  // namespace bench
