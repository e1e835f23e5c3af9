/* What the planner is told of "text @~ trovex_query".
 *
 * An index helps without knowing the operator. Where an index on the column knows LIKE and regular
 * expressions, as those of pg_trgm do, it is offered conditions that every text meets which satisfies the
 * query (index_conditions.h), and the rows that it brings are checked by the operator itself.
 *
 * ILIKE folds as the locale says, and a query as its own letters do. Where the locale does not fold
 * ASCII as ASCII, as Turkish does not, nothing is offered. */

#include "index_conditions.h"

#include "access/htup_details.h"
#include "catalog/pg_collation.h"
#include "catalog/pg_operator.h"
#include "catalog/pg_type.h"
#include "nodes/makefuncs.h"
#include "nodes/nodeFuncs.h"
#include "nodes/pathnodes.h"
#include "nodes/supportnodes.h"
#include "optimizer/optimizer.h"
#include "parser/parsetree.h"
#include "utils/builtins.h"
#include "utils/formatting.h"
#include "utils/lsyscache.h"

/* The parts of a call of the operator or its function that matter here. */
typedef struct Call {
  Node* body;
  CompiledQuery* compiled;
} Call;

/* Reads a call whose query is known when it is planned; false otherwise. */
static bool ReadCall(Node* node, Call* call) {
  List* arguments = NIL;
  if (node == NULL) return false;
  if (IsA(node, OpExpr)) arguments = ((OpExpr*)node)->args;
  if (IsA(node, FuncExpr)) arguments = ((FuncExpr*)node)->args;
  if (list_length(arguments) != 2) return false;
  Node* const query = lsecond(arguments);
  if (!IsA(query, Const) || ((Const*)query)->constisnull) return false;
  call->body = linitial(arguments);
  call->compiled =
      CompileQuery((const QueryValue*)PG_DETOAST_DATUM_PACKED(((Const*)query)->constvalue), NULL);
  return true;
}

/* Whether letters of ASCII, and they alone, are each other's upper and lower case. */
static bool FoldsAsAscii(Oid collation) {
  static const char lower[] = "abcdefghijklmnopqrstuvwxyz";
  static const char upper[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  if (!OidIsValid(collation)) return false;
  return strcmp(str_tolower(upper, strlen(upper), collation), lower) == 0 &&
         strcmp(str_toupper(lower, strlen(lower), collation), upper) == 0;
}

static Oid OperatorOf(const IndexCondition* condition, bool foldsCase) {
  if (condition->isPattern) return foldsCase ? OID_TEXT_ICREGEXEQ_OP : OID_TEXT_REGEXEQ_OP;
  return foldsCase ? OID_TEXT_ICLIKE_OP : OID_TEXT_LIKE_OP;
}

static Node* IndexConditions(SupportRequestIndexCondition* request) {
  Call call;
  List* conditions = NIL;
  /* The families with these operators are few; most indexes are done with here. */
  if (request->indexarg != 0 || !op_in_opfamily(OID_TEXT_LIKE_OP, request->opfamily)) return NULL;
  if (!OidIsValid(request->indexcollation) ||
      !get_collation_isdeterministic(request->indexcollation) || !ReadCall(request->node, &call))
    return NULL;
  /* Trigrams are folded as the database says, conditions as the column does. */
  if (!FoldsAsAscii(DEFAULT_COLLATION_OID) || !FoldsAsAscii(request->indexcollation)) return NULL;
  IndexCondition offered[MOST_INDEX_CONDITIONS];
  const int count = FindIndexConditions(call.compiled, offered);
  for (int i = 0; i < count; ++i) {
    const Oid operatorOid = OperatorOf(&offered[i], ConditionsFoldCase(call.compiled));
    if (!op_in_opfamily(operatorOid, request->opfamily)) continue;
    Const* const string = makeConst(TEXTOID, -1, request->indexcollation, -1,
                                    CStringGetTextDatum(offered[i].string), false, false);
    conditions =
        lappend(conditions, make_opclause(operatorOid, BOOLOID, false, (Expr*)copyObject(call.body),
                                          (Expr*)string, InvalidOid, request->indexcollation));
  }
  request->lossy = true;
  return (Node*)conditions;
}

/* The bytes that the planner expects of a text. */
static int32 ExpectedWidth(PlannerInfo* root, Node* body) {
  int32 width = 0;
  while (body != NULL && IsA(body, RelabelType))
    body = (Node*)((RelabelType*)body)->arg;
  if (root != NULL && body != NULL && IsA(body, Var)) {
    const Var* const column = (const Var*)body;
    if (column->varlevelsup == 0 && !IS_SPECIAL_VARNO(column->varno)) {
      const RangeTblEntry* const table = planner_rt_fetch(column->varno, root);
      if (table->rtekind == RTE_RELATION) width = get_attavgwidth(table->relid, column->varattno);
    }
  }
  return width > 0 ? width : get_typavgwidth(TEXTOID, -1);
}

/* In units of an ordinary operator: a call, and what reading the text takes. */
#define COST_OF_CALL 4.0
#define BYTES_PER_UNIT 100.0

static Node* ExpectedCost(SupportRequestCost* request) {
  List* arguments = NIL;
  if (request->node == NULL) return NULL;
  if (IsA(request->node, OpExpr)) arguments = ((OpExpr*)request->node)->args;
  if (IsA(request->node, FuncExpr)) arguments = ((FuncExpr*)request->node)->args;
  if (arguments == NIL) return NULL;
  const int32 width = ExpectedWidth(request->root, linitial(arguments));
  request->startup = 0;
  request->per_tuple = cpu_operator_cost * (COST_OF_CALL + width / BYTES_PER_UNIT);
  return (Node*)request;
}

PG_FUNCTION_INFO_V1(pg_trovex_support);
Datum pg_trovex_support(PG_FUNCTION_ARGS) {
  Node* const request = (Node*)PG_GETARG_POINTER(0);
  Node* answer = NULL;
  if (IsA(request, SupportRequestIndexCondition))
    answer = IndexConditions((SupportRequestIndexCondition*)request);
  else if (IsA(request, SupportRequestCost))
    answer = ExpectedCost((SupportRequestCost*)request);
  PG_RETURN_POINTER(answer);
}
