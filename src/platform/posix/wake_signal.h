// Wakes a thread that waits in ppoll.
#pragma once

namespace tavro {

class WakeSignal {
 public:
  WakeSignal();
  ~WakeSignal();
  WakeSignal(const WakeSignal&) = delete;
  WakeSignal& operator=(const WakeSignal&) = delete;

  // From any thread.
  void Raise();
  // Whether it was raised; it is down then.
  bool Take();
  // Readable while it is up; -1 when the system had no descriptor left, and nothing can be raised then.
  int Descriptor() const { return descriptor_; }

 private:
  const int descriptor_;
};

}  // namespace tavro
