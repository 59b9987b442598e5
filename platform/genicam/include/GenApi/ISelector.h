#pragma once

#include <GenApi/IBase.h>

namespace GenApi
{
    //! Selector relations of a node
    class GENAPI_EXPORT ISelector : virtual public IBase
    {
    public:
        ~ISelector() override;

        //! True when the node selects other features
        virtual bool IsSelector() const = 0;
        //! Features this node selects
        virtual void GetSelectedFeatures(FeatureList_t& Features) const = 0;
        //! Features that select this node
        virtual void GetSelectingFeatures(FeatureList_t& Features) const = 0;
    };
}
