#include "shell/search_categories.h"

namespace qx::forms {

const std::array<SearchCategory, FrmMain::kSearchCategories>& searchCategories() {
    using F = FrmMain;
    static const std::array<SearchCategory, FrmMain::kSearchCategories> categories{{
        {"Property Records",
         "Property Record Search",
         "Property",
         {{&F::txtFileNumber, &F::lblFileNumber, "File Number:", "FileNumber", 0},
          {&F::txtAddress, &F::lblAddress, "Address:", "Address", 1},
          {&F::txtCity, &F::lblCity, "City:", "City", 2},
          {&F::txtState, &F::lblState, "State:", "ST", 3},
          {&F::txtZip, &F::lblZip, "Zip Code:", "Zip", 4}}},
        {"Invoice Records",
         "Invoice Record Search",
         "Invoice",
         {{&F::txtFileNumber, &F::lblFileNumber, "File Number:", "FileNumber", 0},
          {&F::txtInvoiceDate, &F::lblInvoiceDate, "Invoice Date:", "InvoiceDate", 1, true},
          {&F::txtCheckNum, &F::lblCheckNum, "CheckNum:", "", 2}}},
        {"Assigned Appraisals",
         "Assigned Appraisals Search",
         "Assigned",
         {{&F::txtFileNumber, &F::lblFileNumber, "File Number:", "FileNumber", 0},
          {&F::txtAppraiser, &F::lblAppraiser, "Appraiser:", "Appraiser", 1}}},
        {"Client Record",
         "Client Record Search",
         "Client",
         {{&F::txtClient, &F::lblClient, "Client:", "Client", 0}}},
        {"Client Contacts",
         "Client Contacts Search",
         "ClientContact",
         {{&F::txtClient, &F::lblClient, "Client:", "Client", 0},
          {&F::txtContactName, &F::lblContactName, "Contact Name:", "Contact", 1},
          {&F::txtEmail, &F::lblEmail, "Contact Email:", "Email", 3},
          {&F::txtPhoneNum, &F::lblPhoneNum, "Phone #", "Phone", 2}}},
        {"Client Fees",
         "Client Fees Search",
         "ClientFee",
         {{&F::txtClient, &F::lblClient, "Client:", "Client", 0},
          {&F::txtFormType, &F::lblFormType, "Form Type:", "Form", 1}}},
        {"Appraiser Records",
         "Appraiser Records Search",
         "Appraiser",
         {{&F::txtAppraiser, &F::lblAppraiser, "Appraiser:", "Appraiser", 0}}},
        {"Appraiser Fees",
         "Appraiser Fees Search",
         "AppraiserFee",
         {{&F::txtAppraiser, &F::lblAppraiser, "Appraiser:", "Appraiser", 0},
          {&F::txtFormType, &F::lblFormType, "Form Type:", "Form", 1}}},
        {"Form Types",
         "Form Types Search",
         "FormTypes",
         {{&F::txtFormType, &F::lblFormType, "Form Type:", "Form", 0},
          {&F::txtCategory, &F::lblCategory, "Category:", "Category", 1}}},
        {"Company Information", "Company Information Search", "Company", {}},
        {"Users", "Users Search", "Users", {}},
    }};
    return categories;
}

}  // namespace qx::forms
