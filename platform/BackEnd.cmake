# Reports what a back-end does not define yet, so that its author has a list to work through before
# the linker has one.

# The hooks that posix/ calls and a back-end defines, below the header that declares them. A test
# compares this list with what the library's objects need of each other.
set(KX_HOOKS
    posix/ground/kernel_calls_posix.h
        openPipe openWakePair renameNoReplace openBeneath cloneFile reserveSpace
        listExtendedAttributes getExtendedAttribute setExtendedAttribute getRemovalTraits
        kNoSuchAttributeError isCopiedAttribute copySystemAttributes
    posix/ground/thread_id_posix.h
        currentThreadId
    posix/fs/ownership_posix.h
        giveLink
    posix/run_loop/main_thread_posix.h
        isFirstThread
    posix/run_loop/application_posix.h
        requestDrain hasApplication sendNextEventOfApplication observeApplicationEnd
    posix/run_loop/console_posix.h
        logToSystem
    posix/run_loop/system_exceptions_posix.h
        observeSystemExceptions isSystemException
    posix/process/child_system_posix.h
        closeAllButStandardStreams ownEnvironment openExitDescriptor waitForChild signalChild
        enlargePipe
    posix/process/memory_mapping_posix.h
        mapMemory growMapping unmapMemory)
if(KX_TRACE)
    list(APPEND KX_HOOKS posix/trace/traced_calls_posix.h traceOwnCalls)
endif()

# The lines that may begin a definition, which are not indented, of those of a folder's sources that
# have something in the namespace.
function(kx_read_definitions folder namespace result)
    file(GLOB_RECURSE sources "${folder}/*.cpp" "${folder}/*.mm")
    set(all "")
    foreach(source IN LISTS sources)
        file(STRINGS "${source}" is_in_namespace REGEX "^namespace ${namespace} {")
        if(is_in_namespace)
            file(STRINGS "${source}" lines REGEX "^[A-Za-z].*[(=]")
            string(APPEND all ";${lines}")
        endif()
    endforeach()
    set(${result} "${all}" PARENT_SCOPE)
endfunction()

# One line for each service and each hook that platform/NAME does not define. The library can be
# compiled without them; programs cannot be linked.
function(kx_report_missing seam name)
    set(namespace quillmoor::platform)
    kx_read_definitions("${seam}/posix" ${namespace} shared)
    kx_read_definitions("${seam}/${name}" ${namespace} own)

    file(STRINGS "${seam}/native_services.h" declared REGEX "^[A-Za-z]+\\* native[A-Za-z]+\\(\\);")
    foreach(line IN LISTS declared)
        string(REGEX REPLACE "^([A-Za-z]+)\\* (native[A-Za-z]+).*" "\\1;\\2" line "${line}")
        list(GET line 0 service)
        list(GET line 1 function)
        if(NOT shared MATCHES "[ *]${function}\\(" AND NOT own MATCHES "[ *]${function}\\(")
            message(NOTICE "platform/${name}: the service ${service} is missing: "
                "define ${function}(), declared in platform/native_services.h")
        endif()
    endforeach()

    kx_read_definitions("${seam}/${name}" ${namespace}::posix own)
    foreach(hook IN LISTS KX_HOOKS)
        if(hook MATCHES "/")
            set(header platform/${hook})
        elseif(NOT own MATCHES "[ *]${hook}( =|\\()")
            message(NOTICE "platform/${name}: the hook ${hook} is missing: "
                "define it as ${header} declares it")
        endif()
    endforeach()
endfunction()
