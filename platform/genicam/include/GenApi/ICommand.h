#pragma once

#include <GenApi/IValue.h>

namespace GenApi
{
    //! A command feature
    class GENAPI_EXPORT ICommand : virtual public IValue
    {
    public:
        ~ICommand() override;

        //! Starts the command
        virtual void Execute(bool Verify = true) = 0;
        //! False while the command still runs
        virtual bool IsDone(bool Verify = true) = 0;

        void operator()() { Execute(); }
    };
}
