// What the process-wide objects have in common: they cannot be copied, released or counted. The
// operations below exist for compatibility with code that counts references.
//
//   KXLog* const log = KXLog::sharedController();
//   log->retain()->release();   // allowed, and without effect
#pragma once

namespace quillmoor {

// Derived is the singleton's own class, which makes its one object itself. Objects are never
// destroyed: a thread of the library may still use one while the process exits. All functions may
// be called from any thread, and throw nothing. The pointers that they return are the object itself
// and are not owned by the caller.
template <typename Derived>
class SharedObject {
  public:
    SharedObject(const SharedObject&) = delete;
    SharedObject& operator=(const SharedObject&) = delete;

    // `retain`: no count is kept.
    Derived* retain() { return self(); }
    // `release`: does nothing.
    void release() {}
    // `autorelease`: does nothing.
    Derived* autorelease() { return self(); }
    // `copyWithZone:`: no copy is made.
    Derived* copyWithZone() { return self(); }
    // `retainCount`: always the largest 32-bit unsigned value, whatever the size of a pointer.
    unsigned long retainCount() const { return 4294967295UL; }

  protected:
    // Protected, and not virtual: objects are neither made nor deleted by way of this class.
    SharedObject() = default;
    ~SharedObject() = default;

  private:
    Derived* self() { return static_cast<Derived*>(this); }
};

}  // namespace quillmoor
