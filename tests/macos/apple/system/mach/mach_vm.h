// Declaration of the call that maps memory at a second address.
#pragma once

#include <mach/mach.h>

extern "C" kern_return_t mach_vm_remap(vm_map_t target, mach_vm_address_t* address,
                                       mach_vm_size_t size, mach_vm_offset_t mask, int flags,
                                       vm_map_t source, mach_vm_address_t sourceAddress,
                                       boolean_t copy, vm_prot_t* current, vm_prot_t* maximum,
                                       vm_inherit_t inheritance);
