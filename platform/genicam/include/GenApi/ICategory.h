#pragma once

#include <GenApi/IValue.h>

namespace GenApi
{
    //! A category: a named group of features
    class GENAPI_EXPORT ICategory : virtual public IValue
    {
    public:
        ~ICategory() override;

        //! The features of the category, in document order
        virtual void GetFeatures(FeatureList_t& Features) const = 0;
    };
}
