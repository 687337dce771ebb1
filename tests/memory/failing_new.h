// Memory that runs out: an operator new that can be told to fail. It takes the place of the program's own.
#pragma once

namespace tavro {

class FailingNew {
 public:
  // From now on the allocation behind so many others fails in this thread, that one alone or all from it on.
  static void Arm(long after, bool forGood);
  // Whether any failed.
  static bool Disarm();

  // While it lives, none fails: what belongs to the machine and not to the component.
  class Pause {
   public:
    Pause();
    ~Pause();
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;
  };
};

}  // namespace tavro
