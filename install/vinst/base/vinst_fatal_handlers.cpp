#include "install/vinst/base/vinst_fatal_handlers.h"

#include "install/vinst/base/vinst_fatal_handlers_platform.h"
#include "support/main/main_globals.h"

#include <cstdio>
#include <exception>

namespace
{

[[noreturn]] void end_with(const char* text) noexcept
{
    std::fflush(stdout);
    write_to_standard_error(text);
    end_process_now(fatal_exit_code);
}

[[noreturn]] void on_terminate() noexcept
{
    if (main_terminate_called(1))
        end_with(recursive_termination_text);
    try
    {
        if (main_terminator_callback != nullptr)
        {
            main_terminator_callback();
            end_process_now(fatal_exit_code);
        }
    }
    catch (...)
    {
        end_with(failed_termination_text);
    }
    end_with("Fatal error: Program termination requested. "
             "The Veltrin Crest software will now exit.\n");
}

}

void install_fatal_handlers()
{
    if (!main_eh_enabled())
        return;
    install_exception_translator();
    main_terminate_called(0);
    std::set_terminate(on_terminate);
}
