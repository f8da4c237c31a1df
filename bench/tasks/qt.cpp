#include <QRunnable>
#include <QThreadPool>

#include "bench/tasks/rows.h"

namespace bench {
namespace {

class Work : public QRunnable {
 public:
  explicit Work(void (*work)()) : work_(work) {}
  void run() override { work_(); }

 private:
  void (*const work_)();
};

class Pool {
 public:
  explicit Pool(unsigned workers) { pool_.setMaxThreadCount(static_cast<int>(workers)); }
  void Insert(void (*work)()) { pool_.start(new Work(work)); }
  void Finish() { pool_.waitForDone(); }

 private:
  QThreadPool pool_;
};

const bool registered = (AddTaskRows<Pool>("QThreadPool"), true);

}  // namespace
}  // namespace bench
