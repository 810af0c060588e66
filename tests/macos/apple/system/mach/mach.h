// Declarations of virtual memory, for a system that lacks them.
#pragma once

#include <cstdint>

typedef int kern_return_t;
typedef unsigned int mach_port_t;
typedef mach_port_t vm_map_t;
typedef std::uint64_t mach_vm_address_t;
typedef std::uint64_t mach_vm_offset_t;
typedef std::uint64_t mach_vm_size_t;
typedef int vm_prot_t;
typedef unsigned int vm_inherit_t;
typedef int boolean_t;

#define KERN_SUCCESS 0
#define VM_FLAGS_FIXED 0x0000
#define VM_FLAGS_OVERWRITE 0x4000
#define VM_INHERIT_DEFAULT 1U

extern "C" mach_port_t mach_task_self_;
#define mach_task_self() mach_task_self_
